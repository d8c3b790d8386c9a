// Starting and stopping the servers: runs target/scripts/*.sh. What a verb means for a service that
// the stored settings switch off is for its script to decide.
#include "host/libmailvane/daemons/service_control.h"

#include <unistd.h>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace host::daemons {

int RunControlScript(const char* script, const std::string& verb)
{
    if (verb != "start" && verb != "stop" && verb != "restart") {
        Log(LOG_ERR, "%s takes no verb \"%s\"", script, verb.c_str());
        return -1;
    }
    const std::string program = PackagePath(std::string("target/scripts/") + script);
    return RunProgram({program, verb}).Succeeded() ? 0 : -1;
}

bool ServicesAreOurs()
{
    return access(Path("/run/systemd/system").c_str(), F_OK) < 0 ||
           access(PackagePath("etc/adopted").c_str(), F_OK) == 0;
}

}  // namespace host::daemons

int Postfix::Service(const std::string& verb)
{
    return host::daemons::RunControlScript("postfix.sh", verb);
}

int ImapPop3::Service(const std::string& verb)
{
    return host::daemons::RunControlScript("dovecot.sh", verb);
}

int MailScanner::Service(const std::string& verb)
{
    return host::daemons::RunControlScript("mailscanner.sh", verb);
}

int MailScanner::AntiVirusService(const std::string& verb)
{
    return host::daemons::RunControlScript("antivirus.sh", verb);
}
