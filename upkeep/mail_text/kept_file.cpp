// A file with a message that was kept, packed by gzip or as it came.
#include "upkeep/mail_text/kept_file.h"

#include <algorithm>

namespace upkeep {

namespace {

constexpr std::size_t kMost = std::size_t{64} << 20;
constexpr std::size_t kLongestLine = 65536;

}  // namespace

std::string_view KeptFile::Next()
{
    const int count = file_ == nullptr || taken_ >= kMost
                          ? 0
                          : gzread(file_, buffer_.data(), static_cast<unsigned>(buffer_.size()));
    int error = Z_OK;
    if (file_ != nullptr) (void)gzerror(file_, &error);
    cut_ = cut_ || file_ == nullptr || taken_ >= kMost || count < 0 || error != Z_OK;
    const std::size_t size = count > 0 ? static_cast<std::size_t>(count) : 0;
    taken_ += size;
    return {buffer_.data(), size};
}

bool KeptFile::NextLine(std::string& line)
{
    line.clear();
    for (;;) {
        if (rest_.empty()) rest_ = Next();
        if (rest_.empty()) return !line.empty();

        const std::size_t end = rest_.find('\n');
        const std::size_t size = std::min(std::min(end, rest_.size()), kLongestLine - line.size());
        line.append(rest_.substr(0, size));
        const bool isWhole = size == end;
        rest_.remove_prefix(isWhole ? size + 1 : size);
        if (isWhole || line.size() == kLongestLine) return true;
    }
}

}  // namespace upkeep
