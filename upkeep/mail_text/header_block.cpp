// The header of a message, or of a part of one.
#include "upkeep/mail_text/header_block.h"

#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 10;
constexpr std::size_t kMostFields = 500;

/// Whether a text is the name of a field: signs that can be seen.
bool IsFieldName(std::string_view text)
{
    for (const char c : text) {
        if (c <= ' ' || c >= '\x7f') return false;
    }
    return !text.empty();
}

}  // namespace

HeaderBlock::Line HeaderBlock::Add(std::string_view line)
{
    const bool isFirst = !began_;
    began_ = true;
    if (line.empty()) return Line::kEnd;

    if (line.front() == ' ' || line.front() == '\t') {
        const std::string_view more = host::Trim(line);
        if (!fields_.empty() && !cut_ && MakesRoom(more.size())) {
            fields_.back().value.append(" ").append(more);
        }
        return Line::kTaken;
    }
    // The line of an envelope, which some files of mail begin with.
    if (isFirst && line.substr(0, 5) == "From ") return Line::kTaken;

    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return Line::kNoField;
    const std::string_view name = host::Trim(line.substr(0, colon));
    if (!IsFieldName(name)) return Line::kNoField;
    if (fields_.size() == kMostFields) cut_ = true;
    if (!cut_ && MakesRoom(line.size())) {
        fields_.push_back({std::string(name), std::string(host::Trim(line.substr(colon + 1)))});
    }
    return Line::kTaken;
}

std::string_view HeaderBlock::Value(std::string_view name) const
{
    for (const HeaderField& field : fields_) {
        if (host::InLowerCase(field.name) == name) return field.value;
    }
    return {};
}

bool HeaderBlock::MakesRoom(std::size_t size)
{
    if (size > kMostBytes - bytes_) cut_ = true;
    if (!cut_) bytes_ += size;
    return !cut_;
}

}  // namespace upkeep
