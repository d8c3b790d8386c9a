// The mail queue as listed by postqueue(1): one JSON object a line for each message.
#include "host/libmailvane/system/mail_queue.h"

#include <json/json.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"

namespace host::system {
namespace {

/// Parses one line of the list; nothing for other lines, such as a last line that was cut off.
std::optional<QueuedMessage> MessageIn(const std::string& line)
{
    Json::Value message;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    const bool parsed = reader->parse(line.data(), line.data() + line.size(), &message, nullptr);
    if (!parsed || !message.isObject() || !message["arrival_time"].isInt64()) return std::nullopt;

    return QueuedMessage{message["queue_name"] == Json::Value("deferred"),
                         message["arrival_time"].asInt64()};
}

}  // namespace

Result<MailQueue> ReadMailQueue(std::chrono::milliseconds limit)
{
    ProgramOptions options;
    options.limit = limit;
    options.capture = true;
    const ProgramResult list = RunProgram(
        {programs::kPostqueue, "-c", PackagePath("etc/generated/current/postfix"), "-j"}, options);
    if (!list.Succeeded()) {
        return Reason{list.done.reason().code, "mail queue",
                      "the mail queue cannot be read: " + list.done.reason().text};
    }

    MailQueue queue;
    queue.isWhole = list.output.size() < kMostCaptured;
    std::istringstream lines(list.output);
    for (std::string line; std::getline(lines, line);) {
        if (const auto message = MessageIn(line)) queue.messages.push_back(*message);
    }
    return queue;
}

}  // namespace host::system
