// SMTP page: load_smtp, save_smtp.
#include <string>

#include "frame/mailvane_handler.h"
#include "frame/settings_json.h"
#include "platform/hald/directory.h"
#include "platform/hlib/accounts.h"
#include "platform/hlib/key_value.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/web_utils.h"
#include "services/account_domain.h"
#include "services/smtp_plan.h"

namespace {

const char kSystemFile[] = "/etc/haldinfo.conf";
const char kDomainFile[] = "/usr/hald/etc/smb.conf";
const char kLocalHomes[] = "userHomeEnable";
const char kLdapHomes[] = "enableluserhome";
const char kDomainHomes[] = "enableduserhome";
constexpr int kRealmSize = 512;
constexpr int kSuffixSize = 1024;

/// The setting that says whether users of an account type have home directories.
const char* HomesKey(const std::string& accountType, const char* unknownType)
{
    if (accountType == "local") return kLocalHomes;
    if (accountType == "ldap") return kLdapHomes;
    if (accountType == "win") return kDomainHomes;
    return unknownType;
}

bool HomesAreOn(const char* key)
{
    return HLIBCFileCheckKeyValue(kSystemFile, key, "yes", 0) != 0;
}

void AppendAccountItem(Json::Value& items, const char* type, const char* name)
{
    Json::Value item;
    item["type"] = type;
    item["name"] = name;
    items.append(item);
}

/// Lists the account sources of this machine, local accounts always. Negative when the domain's
/// configuration cannot be read; the local source has been listed then.
int AddAccountItems(Json::Value& response)
{
    Json::Value& items = response["acc_items"] = Json::Value(Json::arrayValue);
    AppendAccountItem(items, "local", "");

    const bool winbindEnabled = HLIBServiceIsEnabled("winbindd") != 0;
    const bool joined = HALDWinsIsJoined() != 0;
    char realm[kRealmSize] = {};
    if (HLIBCFileGetKeyValue(kDomainFile, "realm", realm, kRealmSize, 0) < 0) return -1;

    if (winbindEnabled && joined) AppendAccountItem(items, "win", realm);
    if (HALDLDAPIsBinded() == 0) return 0;

    char suffix[kSuffixSize] = {};
    if (HALDLDAPLoginSuffixGet(suffix, kSuffixSize) != 0) return 0;

    AppendAccountItem(items, "ldap", suffix);
    return 0;
}

Outcome ReadSmtp(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, postfix);
    response["smtp_relay_password"] = "";  // write-only: never sent to the client
    // Deliberate: for an unknown account type the page shows the local homes, the save asks for
    // those of the domain.
    const std::string accountType = Setting<std::string>(postfix, "account_type");
    response["homeServiceEnable"] = HomesAreOn(HomesKey(accountType, kLocalHomes));
    if (AddAccountItems(response) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

SmtpState StoredState(Postfix& postfix)
{
    SmtpState state;
    state.smtpEnabled = Setting<bool>(postfix, "smtp_enabled");
    state.sslEnabled = Setting<bool>(postfix, "smtp_ssl_enabled");
    state.tlsEnabled = Setting<bool>(postfix, "smtp_tls_enabled");
    state.smtpPort = Setting<int>(postfix, "smtp_port");
    state.smtpsPort = Setting<int>(postfix, "smtps_port");
    state.tlsPort = Setting<int>(postfix, "smtp_tls_port");
    state.restrictSender = Setting<bool>(postfix, "restrict_sender");
    state.accountType = Setting<std::string>(postfix, "account_type");
    state.domain = Setting<std::string>(postfix, "acc_domain_name");
    state.hostname = Setting<std::string>(postfix, "smtp_hostname");
    state.dkimEnabled = Setting<bool>(postfix, "enable_dkim");
    state.dmarcEnabled = Setting<bool>(postfix, "enable_dmarc");
    return state;
}

/// The settings as the request has them; a missing member counts as false, 0 or "".
SmtpState WantedState(const Json::Value& in)
{
    SmtpState state;
    state.smtpEnabled = in["smtp_enabled"].asBool();
    state.sslEnabled = in["smtp_ssl_enabled"].asBool();
    state.tlsEnabled = in["smtp_tls_enabled"].asBool();
    state.smtpPort = in["smtp_port"].asInt();
    state.smtpsPort = in["smtps_port"].asInt();
    state.tlsPort = in["smtp_tls_port"].asInt();
    state.restrictSender = in["restrict_sender"].asBool();
    state.accountType = in["account_type"].asString();
    state.domain = in["acc_domain_name"].asString();
    state.hostname = in["smtp_hostname"].asString();
    return state;
}

/// One of the page's three ports: its label at the client, and the services that may listen on it.
struct PortField {
    const char* label;
    const char* services;
    bool SmtpState::*enabled;
    int SmtpState::*port;
};

// The blanks before the commas belong there: the service registry knows the names with them.
constexpr PortField kPortFields[] = {
    {"SMTP", "mail_smtp ,mail_haproxy_smtp", &SmtpState::smtpEnabled, &SmtpState::smtpPort},
    {"SMTP-SSL", "mail_smtps ,mail_haproxy_smtp_ssl", &SmtpState::sslEnabled,
     &SmtpState::smtpsPort},
    {"SMTP-TLS", "mail_smtp_tls ,mail_haproxy_smtp_tls", &SmtpState::tlsEnabled,
     &SmtpState::tlsPort},
};

/// Label of the first port that another program listens on; null when there is none. Ports that
/// the service already uses are not checked.
const char* FindPortConflict(const SmtpState& stored, const SmtpState& wanted)
{
    if (!wanted.smtpEnabled) return nullptr;

    for (const PortField& field : kPortFields) {
        if (!(wanted.*field.enabled)) continue;

        const int port = wanted.*field.port;
        const bool heldAlready = stored.*field.enabled && stored.*field.port == port;
        if (!heldAlready && WebUtils::IsPortConflict(field.services, port, port) != 0) {
            return field.label;
        }
    }
    return nullptr;
}

Outcome StoreSmtp(const Json::Value& in, Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    if (!HomesAreOn(HomesKey(in["account_type"].asString(), kDomainHomes))) {
        return Outcome::Fail("error", "no_user_home");
    }

    const SmtpState stored = StoredState(postfix);
    const SmtpState wanted = WantedState(in);
    if (const char* label = FindPortConflict(stored, wanted)) {
        response["errinfo"]["errField"] = label;
        return Outcome::Fail("error", "error_port_conflict");
    }

    if (ChangeAccountDomain(in, postfix) < 0) return Outcome::SystemError();

    const std::list<Callback> plan = PlanSmtpSave(stored, wanted);
    AllSettingsFromJson(in, postfix);
    if (postfix.SaveSettings(plan) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadSmtp()
{
    Json::Value response;
    Answer(response, ReadSmtp(response));
}

void MailvaneHandler::SaveSmtp(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreSmtp(in, response));
}
