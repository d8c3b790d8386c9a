// Status of the anti-virus engine, by the processes that run: updating, ready or not working.
#include "filtering/anti_virus_status.h"

#include "frame/settings_json.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/mail_scanner.h"

namespace {

const char kUpdatePid[] = "/var/run/hald_freshclam.pid";
const char kStarterPid[] = "/var/run/hald_anti-virus.pid";
const char kEnginePid[] = "/var/run/clamd.pid";
const char kScannerPid[] = "/var/run/MailScanner.pid";

bool IsAlive(const char* pidFile)
{
    return HLIBCProcAliveByPidFile(pidFile) != 0;
}

}  // namespace

const char* AntiVirusStatus()
{
    MailScanner scanner;
    if (scanner.LoadSettings() < 0) return "error";
    if (IsAlive(kUpdatePid)) return "fresh_clam";
    if (IsAlive(kStarterPid)) return "service_starting";

    const bool enabled = Setting<bool>(scanner, "anti_virus_enable");
    if (enabled && !(IsAlive(kEnginePid) && IsAlive(kScannerPid))) return "error";

    return "done";
}
