// Starting and stopping services by target/scripts/*.sh. The script decides what a verb means for a
// service that the stored settings switch off.
#include "host/libmailvane/daemons/service_control.h"

#include <unistd.h>

#include <utility>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace host::daemons {

namespace {

int DkimFilterService(const std::string& verb)
{
    return Status(RunControlScript(daemons::kDkimFilter, verb));
}

int DmarcFilterService(const std::string& verb)
{
    return Status(RunControlScript(daemons::kDmarcFilter, verb));
}

int MemcachedService(const std::string& verb)
{
    return Status(RunControlScript(daemons::kMemcached, verb));
}

/// The function of each service that a step of a plan calls.
const struct {
    const daemons::Daemon& daemon;
    int (*run)(const std::string& verb);
} kServices[] = {
    {daemons::kPostfix, &Postfix::Service},
    {daemons::kDovecot, &ImapPop3::Service},
    {daemons::kScanner, &MailScanner::Service},
    {daemons::kAntiVirus, &MailScanner::AntiVirusService},
    {daemons::kDkimFilter, &DkimFilterService},
    {daemons::kDmarcFilter, &DmarcFilterService},
    {daemons::kMemcached, &MemcachedService},
};

bool& ScannerIsMarked()
{
    static bool marked = false;
    return marked;
}

bool& ScannerIsSpared()
{
    static bool spared = false;
    return spared;
}

}  // namespace

void MarkScanner()
{
    ScannerIsMarked() = true;
}

void SpareScanner()
{
    ScannerIsSpared() = true;
}

Result<void> RunControlScript(const daemons::Daemon& daemon, const std::string& verb)
{
    const std::string script = std::string(daemon.service) + ".sh";
    if (verb != "start" && verb != "stop" && verb != "restart") {
        return Reason{ReasonCode::kRefused, script, script + " takes no verb \"" + verb + "\""};
    }
    Result<void> done = RunProgram({PackagePath("target/scripts/" + script), verb}).done;
    if (done) return done;
    NoteFailure(script + " " + verb + " failed");
    Reason reason = std::move(done).reason();
    if (reason.code == ReasonCode::kSystem) reason.code = ReasonCode::kDaemonIsDown;
    return std::move(reason).About(Subject::Service(daemon));
}

Callback ServiceStep(const daemons::Daemon& daemon, const std::string& verb)
{
    Callback step{std::string(daemon.label), nullptr, verb};
    for (const auto& service : kServices) {
        if (service.daemon.service == daemon.service) step.func = service.run;
    }
    return step;
}

bool ServicesAreOurs()
{
    return access(Path("/run/systemd/system").c_str(), F_OK) < 0 ||
           access(PackagePath("etc/adopted").c_str(), F_OK) == 0;
}

}  // namespace host::daemons

int Postfix::Service(const std::string& verb)
{
    return host::Status(host::daemons::RunControlScript(host::daemons::kPostfix, verb));
}

int ImapPop3::Service(const std::string& verb)
{
    return host::Status(host::daemons::RunControlScript(host::daemons::kDovecot, verb));
}

int MailScanner::Service(const std::string& verb)
{
    const bool isSpared =
        std::exchange(host::daemons::ScannerIsSpared(), false) && verb == "restart";
    const int result =
        isSpared ? 0 : host::Status(host::daemons::RunControlScript(host::daemons::kScanner, verb));
    return std::exchange(host::daemons::ScannerIsMarked(), false) ? -1 : result;
}

int MailScanner::AntiVirusService(const std::string& verb)
{
    return host::Status(host::daemons::RunControlScript(host::daemons::kAntiVirus, verb));
}
