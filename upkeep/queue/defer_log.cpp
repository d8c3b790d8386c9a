// Why recipients have not got a message yet. The mail server writes a paragraph for each attempt,
// of lines "name=value".
#include "upkeep/queue/defer_log.h"

#include <algorithm>
#include <string_view>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

constexpr std::size_t kLongest = 1000;  // bytes of a reason

std::string Cleaned(std::string_view text)
{
    std::string cleaned(text.substr(0, kLongest));
    std::replace_if(cleaned.begin(), cleaned.end(), host::IsControl, ' ');
    return cleaned;
}

}  // namespace

std::map<std::string, std::string> ReadDeferLog(const std::string& path)
{
    constexpr std::string_view kRecipient = "recipient=";
    constexpr std::string_view kReason = "reason=";
    std::string text;
    if (!host::ReadFile(path, text)) return {};

    std::map<std::string, std::string> reasons;
    std::string recipient;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.empty()) recipient.clear();
        if (line.substr(0, kRecipient.size()) == kRecipient) {
            recipient = line.substr(kRecipient.size());
        }
        if (line.substr(0, kReason.size()) == kReason && !recipient.empty()) {
            reasons[recipient] = Cleaned(line.substr(kReason.size()));
        }
    }
    return reasons;
}

}  // namespace upkeep
