// A parser for multipart/form-data (RFC 7578) that is fed pieces of any size.
#include "host/libkos/multipart_parser.h"

#include <algorithm>
#include <optional>

#include "host/libkos/header_value.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// The value of a line in a part's header; nothing when there is no such line.
std::optional<std::string_view> FindHeader(std::string_view header, std::string_view name)
{
    while (!header.empty()) {
        std::string_view line = CutAt(header, '\n');
        if (InLowerCase(Trim(CutAt(line, ':'))) == name) return Trim(line);
    }
    return std::nullopt;
}

}  // namespace

MultipartParser::MultipartParser(const std::string& boundary, Sink& sink)
    // Nothing precedes the first delimiter, so a line end is put before the body.
    : delimiter_("\r\n--" + boundary), sink_(sink), pending_(kLineEnd)
{
}

bool MultipartParser::Feed(std::string_view bytes)
{
    pending_ += bytes;
    while (Step()) continue;

    pending_.erase(0, used_);
    used_ = 0;
    return state_ != State::kMalformed;
}

/// Parses pending bytes until the state changes; false when more bytes are needed.
bool MultipartParser::Step()
{
    switch (state_) {
        case State::kPreamble:
            return SkipPreamble();
        case State::kDelimiter:
            return EndDelimiter();
        case State::kHeader:
            return ReadHeader();
        case State::kData:
            return PassData();
        case State::kEpilogue:
        case State::kMalformed:
            break;
    }
    used_ = pending_.size();
    return false;
}

bool MultipartParser::Become(State state)
{
    state_ = state;
    return true;
}

bool MultipartParser::SkipPreamble()
{
    const std::string_view text = Pending();
    const std::size_t found = text.find(delimiter_);
    if (found != std::string_view::npos) {
        used_ += found + delimiter_.size();
        return Become(State::kDelimiter);
    }
    used_ += text.size() - std::min(text.size(), delimiter_.size() - 1);
    return false;
}

/// After a boundary: "--" ends the body, a line end begins a part; blanks may precede either.
bool MultipartParser::EndDelimiter()
{
    const std::string_view text = Pending();
    if (text.size() < 2) return false;

    if (text.substr(0, 2) == "--") return Become(State::kEpilogue);
    if (text.substr(0, 2) == kLineEnd) {
        used_ += 2;
        return Become(State::kHeader);
    }
    if (text.front() != ' ' && text.front() != '\t') return Become(State::kMalformed);
    ++used_;
    return true;
}

bool MultipartParser::ReadHeader()
{
    const std::string_view text = Pending();
    const std::size_t end = text.find("\r\n\r\n");
    if (text.substr(0, 2) == kLineEnd) return Become(State::kMalformed);  // a part without header
    if (std::min(end, text.size()) > kMaxHeaderBytes) return Become(State::kMalformed);
    if (end == std::string_view::npos) return false;

    used_ += end + 4;
    return Become(BeginPart(text.substr(0, end)) ? State::kData : State::kMalformed);
}

bool MultipartParser::BeginPart(std::string_view header)
{
    const std::optional<std::string_view> text = FindHeader(header, "content-disposition");
    if (!text || ++parts_ > kMaxParts) return false;

    const HeaderValue disposition = HeaderValue::Parse(*text);
    const std::optional<std::string> field = disposition.Parameter("name");
    if (disposition.value() != "form-data" || !field) return false;

    std::optional<std::string> fileName = disposition.Parameter("filename");
    if (!fileName) fileName = disposition.Parameter("filename*");
    sink_.PartBegins(*field, fileName.has_value(), fileName.value_or(""));
    return true;
}

bool MultipartParser::PassData()
{
    const std::string_view text = Pending();
    const std::size_t found = text.find(delimiter_);
    const bool ends = found != std::string_view::npos;
    // The last bytes may be the beginning of a delimiter.
    const std::size_t sure =
        ends ? found : text.size() - std::min(text.size(), delimiter_.size() - 1);
    if (sure > 0) sink_.PartData(text.substr(0, sure));
    used_ += sure;
    if (!ends) return false;

    used_ += delimiter_.size();
    sink_.PartEnds();
    return Become(State::kDelimiter);
}

}  // namespace kos
