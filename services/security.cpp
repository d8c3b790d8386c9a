// Security page: load_security, save_security.
#include "filtering/anti_virus_status.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/settings_json.h"
#include "platform/hlib/file.h"
#include "platform/mailvane/anti_virus_support.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"
#include "services/dkim_keys.h"
#include "services/security_plan.h"

namespace {

SecurityState StoredState(Postfix& postfix, MailScanner& scanner)
{
    SecurityState state;
    state.antiVirus = Setting<bool>(scanner, "anti_virus_enable");
    state.spam = Setting<bool>(scanner, "spam_enable");
    state.dangerousContent = Setting<bool>(scanner, "enable_dangerous_content_scan");
    state.dkim = Setting<bool>(postfix, "enable_dkim");
    state.dmarc = Setting<bool>(postfix, "enable_dmarc");
    state.rejectOverRate = Setting<bool>(postfix, "reject_sasl_sender_rate_exceed");
    state.rateLimit = Setting<int>(postfix, "smtpd_sasl_sender_rate_limit");
    state.dnsbl = Setting<bool>(postfix, "spam_dnsbl_enable");
    state.spf = Setting<bool>(postfix, "enable_spf_check");
    state.spfSoftFail = Setting<bool>(postfix, "reject_spf_soft_fail");
    return state;
}

/// The switches as the request has them; a missing member counts as false or 0.
SecurityState WantedState(const Json::Value& in)
{
    SecurityState state;
    state.antiVirus = in["anti_virus_enable"].asBool();
    state.spam = in["spam_enable"].asBool();
    state.dangerousContent = in["enable_dangerous_content_scan"].asBool();
    state.dkim = in["enable_dkim"].asBool();
    state.dmarc = in["enable_dmarc"].asBool();
    state.rejectOverRate = in["reject_sasl_sender_rate_exceed"].asBool();
    state.rateLimit = in["smtpd_sasl_sender_rate_limit"].asInt();
    state.dnsbl = in["spam_dnsbl_enable"].asBool();
    state.spf = in["enable_spf_check"].asBool();
    state.spfSoftFail = in["reject_spf_soft_fail"].asBool();
    return state;
}

Outcome ReadSecurity(Json::Value& response)
{
    MailScanner scanner;
    Postfix postfix;
    if (postfix.LoadSettings() < 0 || scanner.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, scanner);
    AllSettingsToJson(response, postfix);
    response["smtp_relay_password"] = "";  // write-only: never sent to the client
    const bool supported = IsSupportAntiVirus();
    response["support_anti_virus"] = supported;
    if (supported && Setting<bool>(scanner, "anti_virus_enable")) {
        response["anti_virus_status"] = AntiVirusStatus();
    }
    if (HLIBCFileExist(kDkimPublicKey) == 0) return Outcome::Success();

    std::string text;
    // Deliberate: the page shows an unreadable key by the flag alone.
    if (ReadDkimPublicKey(text) < 0) return Outcome::Fail();

    response["dkim_public_key"] = text;
    return Outcome::Success();
}

/// Generates a DKIM key pair when signing is switched on and there is none yet.
int MakeFirstKeyPair(bool wanted, Json::Value& response)
{
    if (HLIBCFileExist(kDkimPublicKey) != 0 || !wanted) return 0;

    if (CreateDkimKeyPair() < 0) {
        LogError(2036, "Failed to CreateDKIMKeyPair");
        return -1;
    }

    std::string text;
    if (ReadDkimPublicKey(text) < 0) {
        LogError(2041, "Failed to GetDKIMPublicKey");
        return -1;
    }

    response["dkim_public_key"] = text;
    return 0;
}

Outcome StoreSecurity(const Json::Value& in, Json::Value& response)
{
    MailScanner scanner;
    Postfix postfix;
    if (postfix.LoadSettings() < 0 || scanner.LoadSettings() < 0) return Outcome::SystemError();

    const SecurityState stored = StoredState(postfix, scanner);
    const SecurityState wanted = WantedState(in);
    AllSettingsFromJson(in, postfix);
    AllSettingsFromJson(in, scanner);
    if (MakeFirstKeyPair(wanted.dkim, response) < 0) return Outcome::SystemError();

    if (scanner.SaveSettings(PlanScannerSave(stored, wanted)) < 0) return Outcome::SystemError();

    if (postfix.SaveSettings(PlanSecuritySave(stored, wanted)) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadSecurity()
{
    Json::Value response;
    Answer(response, ReadSecurity(response));
}

void MailvaneHandler::SaveSecurity(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreSecurity(in, response));
}
