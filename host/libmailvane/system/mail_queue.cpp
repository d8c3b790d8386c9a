// The mail queue, as postqueue(1) lists it: a line of JSON for each message.
#include "host/libmailvane/system/mail_queue.h"

#include <json/json.h>

#include <memory>
#include <sstream>
#include <string>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"

namespace host::system {
namespace {

/// Takes one line of the list; what is no message, as the last line of a list that was cut off, is
/// passed over.
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

std::optional<MailQueue> ReadMailQueue(std::chrono::milliseconds limit)
{
    ProgramOptions options;
    options.limit = limit;
    options.capture = true;
    const ProgramResult list = RunProgram(
        {programs::kPostqueue, "-c", PackagePath("etc/generated/current/postfix"), "-j"}, options);
    if (!list.Succeeded()) return std::nullopt;

    MailQueue queue;
    queue.isWhole = list.output.size() < kMostCaptured;
    std::istringstream lines(list.output);
    for (std::string line; std::getline(lines, line);) {
        if (const auto message = MessageIn(line)) queue.messages.push_back(*message);
    }
    return queue;
}

}  // namespace host::system
