// Calls about the daily report, which hald_report composes and sends.
#include "upkeep/report/calls.h"

#include <json/reader.h>

#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"

namespace upkeep {

namespace {

constexpr std::chrono::seconds kLimit{18};  // its own end comes before

}  // namespace

Answer ReportNow(const Request& /*request*/)
{
    host::ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    const host::ProgramResult result =
        host::RunProgram({host::PackagePath("target/bin/hald_report"), "--told"}, options);
    Json::Value told;
    const std::string& text = result.output;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (reader->parse(text.data(), text.data() + text.size(), &told, nullptr) && told.isObject()) {
        return told;
    }
    return host::Reason{host::ReasonCode::kSystem, host::Subject::List("report"),
                        "the report was not sent " + result.errors, result.Causes()};
}

}  // namespace upkeep
