// Why recipients have not got a message yet. The mail server writes a paragraph for each attempt,
// of lines "name=value".
#include "upkeep/queue/defer_log.h"

#include <fcntl.h>

#include <algorithm>
#include <string_view>

#include "host/libhaldcore/descriptor.h"

namespace upkeep {

namespace {

constexpr std::size_t kMostRead = std::size_t{256} << 10;

std::string BeginningOf(const std::string& path)
{
    const host::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) return "";

    std::string text(kMostRead, '\0');
    const ssize_t count = read(file.get(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

/// Cuts the beginning off a line; false when the line begins in another way.
bool CutBeginning(std::string_view& line, std::string_view beginning)
{
    const bool begins = line.substr(0, beginning.size()) == beginning;
    if (begins) line.remove_prefix(beginning.size());
    return begins;
}

}  // namespace

std::map<std::string, std::string> ReadDeferLog(const std::string& path)
{
    const std::string text = BeginningOf(path);
    std::map<std::string, std::string> reasons;
    std::string recipient;
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.empty()) recipient.clear();
        if (CutBeginning(line, "recipient=")) {
            recipient = line;
        } else if (CutBeginning(line, "reason=") && !recipient.empty()) {
            reasons[recipient] = line;
        }
    }
    return reasons;
}

}  // namespace upkeep
