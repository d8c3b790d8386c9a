// IMAP and POP3 page: load_imap_pop3, save_imap_pop3.
#include <list>
#include <string>

#include "frame/mailvane_handler.h"
#include "frame/save_steps.h"
#include "frame/settings_json.h"
#include "platform/hlib/file.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/web_utils.h"

namespace {

const char kOtherPackage[] = "/var/packages/Zarafa/enabled";
const char kDovecotPid[] = "/var/run/dovecot/master.pid";

/// A mailbox service and the port that clients expect it on.
struct MailboxService {
    const char* enabled;
    const char* standardPort;
};

constexpr MailboxService kMailboxServices[] = {
    {"pop3_enabled", "110"},
    {"pop3s_enabled", "995"},
    {"imap_enabled", "143"},
    {"imaps_enabled", "993"},
};

/// Adds the ports in conflict: when the server does not run and another groupware package is
/// enabled, that package holds the standard ports of the services that are on here.
void ReportConflict(Json::Value& response, ImapPop3& mailbox)
{
    if (HLIBCFileExist(kOtherPackage) == 0) return;
    if (HLIBCProcAliveByPidFile(kDovecotPid) != 0) return;

    std::list<std::string> ports;
    for (const MailboxService& service : kMailboxServices) {
        if (Setting<bool>(mailbox, service.enabled)) ports.emplace_back(service.standardPort);
    }
    response["dovecot_alive"] = false;
    response["conflict_ports"] = StringJoin(ports, ", ");
}

Outcome ReadImapPop3(Json::Value& response)
{
    ImapPop3 mailbox;
    if (mailbox.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, mailbox);
    ReportConflict(response, mailbox);
    return Outcome::Success();
}

Outcome StoreImapPop3(const Json::Value& in, Json::Value& response)
{
    ImapPop3 mailbox;
    if (mailbox.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsFromJson(in, mailbox);
    if (mailbox.SaveSettings({DovecotStep("restart")}) < 0) return Outcome::SystemError();

    ReportConflict(response, mailbox);
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadImapPop3()
{
    Json::Value response;
    Answer(response, ReadImapPop3(response));
}

void MailvaneHandler::SaveImapPop3(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreImapPop3(in, response));
}
