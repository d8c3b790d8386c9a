// Anti-virus: fresh_clam, check_virus_status.
#include <unistd.h>

#include <string_view>

#include "filtering/anti_virus_status.h"
#include "frame/mailvane_handler.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/anti_virus_support.h"

namespace {

const char kUpdatePid[] = "/var/run/hald_freshclam.pid";
const char kUpdateTool[] = "/var/packages/Mailvane/target/bin/hald_anti-virus";
constexpr unsigned kHeadStart = 1;  // seconds

/// Runs the update tool in the child process and ends it: the parent answers the request.
[[noreturn]] void UpdateSignatures()
{
    (void)HLIBCExec(kUpdateTool, "update", nullptr, nullptr, nullptr);
    _exit(0);
}

Outcome StartUpdate()
{
    if (!IsSupportAntiVirus()) return Outcome::SystemError();
    if (HLIBCProcAliveByPidFile(kUpdatePid) != 0) return Outcome::Success();

    const int child = HLIBCProcFork();
    if (child < 0) return Outcome::SystemError();
    if (child == 0) UpdateSignatures();

    // Gives the tool time to write its pid file, by which the next request sees that it runs.
    (void)sleep(kHeadStart);
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::FreshClam()
{
    Json::Value response;
    Answer(response, StartUpdate());
}

void MailvaneHandler::CheckVirusStatus()
{
    const std::string_view status = AntiVirusStatus();
    Json::Value response;
    response["isFinish"] = status == "done" || status == "error";
    response["status"] = status.data();
    Answer(response, Outcome::Success());
}
