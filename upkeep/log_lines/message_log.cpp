// What the mail server's log has of one message: bytes of strangers, read by hald_log_lines as
// nobody.
#include "upkeep/log_lines/message_log.h"

#include <json/reader.h>

#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/system/user_command.h"

namespace upkeep {

namespace {

constexpr char kLogGroup[] = "mailvane-log";
constexpr std::chrono::seconds kLimit{4};  // it ends by itself after two

}  // namespace

host::Result<Json::Value> ReadMessageLog(const std::string& id)
{
    host::ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    options.input = id;
    const host::ProgramResult result = host::RunProgram(
        host::system::AsNobody(kLogGroup, {host::PackagePath("target/bin/hald_log_lines")}),
        options);
    Json::Value answer;
    const std::string& text = result.output;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (result.Succeeded() &&
        reader->parse(text.data(), text.data() + text.size(), &answer, nullptr) &&
        answer.isObject()) {
        return answer;
    }
    return host::Reason{host::ReasonCode::kUnreadable, host::Subject::List("mail_log"),
                        "the mail server's log cannot be searched: " + result.errors,
                        result.Causes()};
}

}  // namespace upkeep
