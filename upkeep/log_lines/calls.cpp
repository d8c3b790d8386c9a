// Calls about what the mail server has written of a message.
#include "upkeep/log_lines/calls.h"

#include "upkeep/log_lines/message_log.h"

namespace upkeep {

namespace {

constexpr std::size_t kLongestId = 1000;

host::Reason BadId(host::ReasonCode code, const char* text)
{
    return {code, host::Subject::Setting("id"), text};
}

}  // namespace

Answer LogLines(const Request& request)
{
    std::string id = request.Text("id");
    if (id.size() > 2 && id.front() == '<' && id.back() == '>') id = id.substr(1, id.size() - 2);
    if (id.empty()) return BadId(host::ReasonCode::kEmpty, "no id of a message");
    if (id.size() > kLongestId) return BadId(host::ReasonCode::kTooLong, "no id is so long");
    return ReadMessageLog(id);
}

}  // namespace upkeep
