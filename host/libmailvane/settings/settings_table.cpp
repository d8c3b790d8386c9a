// The table of all settings: name, type, default, range and meaning of each.
#include "host/libmailvane/settings/settings_table.h"

#include <algorithm>
#include <charconv>

#include "host/libmailvane/names/text_checks.h"

namespace host::settings {

namespace {

constexpr int kLowestPort = 1;
constexpr int kHighestPort = 65535;
constexpr int kLongestText = 253;
constexpr int kMostAnHour = 1000000;

SettingInfo Switch(SettingsObject object, const char* name, const char* fallback,
                   const char* meaning)
{
    return {object, name, SettingType::kBool, fallback, 0, 1, nullptr, meaning};
}

SettingInfo Port(SettingsObject object, const char* name, const char* fallback, const char* meaning)
{
    return {object, name, SettingType::kInt, fallback, kLowestPort, kHighestPort, nullptr, meaning};
}

std::vector<SettingInfo> SmtpSettings()
{
    using T = SettingType;
    constexpr auto kObject = SettingsObject::kPostfix;
    return {
        Switch(kObject, "smtp_enabled", "yes", "the SMTP server runs"),
        Port(kObject, "smtp_port", "25", "port for mail from other servers"),
        Switch(kObject, "smtp_ssl_enabled", "no", "submission with TLS from the first byte"),
        Port(kObject, "smtps_port", "465", "its port"),
        Switch(kObject, "smtp_tls_enabled", "yes", "submission with STARTTLS"),
        Port(kObject, "smtp_tls_port", "587", "its port"),
        Switch(kObject, "smtp_auth_required", "yes",
               "this machine's own programs must log in too before their mail is relayed"),
        Switch(kObject, "restrict_sender", "no", "a login may send as its own addresses only"),
        {kObject, "account_type", T::kText, "local", 0, 5, names::IsAccountType,
         "source of the accounts: local, ldap or win"},
        {kObject, "acc_domain_name", T::kText, "", 0, kLongestText, names::IsHostNameOrEmpty,
         "mail domain of the accounts; empty for the host name"},
        {kObject, "win_domain_short_name", T::kText, "", 0, 15, names::IsShortDomainOrEmpty,
         "short name of the Windows domain"},
        {kObject, "smtp_hostname", T::kText, "localhost.localdomain", 1, kLongestText,
         names::IsHostName, "name the SMTP server announces"},
        {kObject, "message_size_limit_mb", T::kInt, "50", 1, 2000, nullptr,
         "greatest message in MiB"},
    };
}

std::vector<SettingInfo> RelaySettings()
{
    using T = SettingType;
    constexpr auto kObject = SettingsObject::kPostfix;
    return {
        Switch(kObject, "smtp_relay_enabled", "no", "mail for others goes through the relay host"),
        {kObject, "smtp_relay_server", T::kText, "", 0, kLongestText, names::IsHostOrAddressOrEmpty,
         "the relay host"},
        Port(kObject, "smtp_relay_port", "587", "its port"),
        Switch(kObject, "smtp_relay_tls", "yes", "the relay host is only spoken to with TLS"),
        Switch(kObject, "smtp_relay_auth", "no", "the relay host asks for a login"),
        {kObject, "smtp_relay_account", T::kText, "", 0, kLongestText, names::IsRelayAccount,
         "login name there"},
        {kObject, "smtp_relay_password", T::kText, "", 0, kLongestText, names::IsPlainText,
         "password there; an empty one in a save keeps the stored one"},
    };
}

std::vector<SettingInfo> SecuritySettings()
{
    using T = SettingType;
    constexpr auto kObject = SettingsObject::kPostfix;
    return {
        Switch(kObject, "spam_dnsbl_enable", "no", "DNS blocklists are asked"),
        Switch(kObject, "enable_spf_check", "no", "mail that fails SPF is refused"),
        Switch(kObject, "reject_spf_soft_fail", "no", "so is mail that fails softly"),
        Switch(kObject, "enable_dkim", "no", "mail leaving this server is signed"),
        {kObject, "dkim_selector", T::kText, "mail", 1, 63, names::IsLabel,
         "selector of the signature"},
        Switch(kObject, "enable_dmarc", "no", "mail that fails its domain's policy is refused"),
        Switch(kObject, "reject_sasl_sender_rate_exceed", "no",
               "mail of a login over its limit is refused"),
        {kObject, "smtpd_sasl_sender_rate_limit", T::kInt, "100", 1, kMostAnHour, nullptr,
         "messages an hour of a login without a limit of its own"},
    };
}

std::vector<SettingInfo> AdvancedSettings()
{
    using T = SettingType;
    constexpr auto kObject = SettingsObject::kPostfix;
    return {
        Switch(kObject, "reject_unknown_sender_domain", "no",
               "senders whose domain the DNS does not know are refused"),
        Switch(kObject, "reject_non_fqdn_sender", "no",
               "senders without a full domain are refused"),
        Switch(kObject, "reject_unknown_client_hostname", "no",
               "clients without a confirmed host name are refused"),
        Switch(kObject, "reject_unauth_pipelining", "no",
               "clients that send commands ahead of their turn are refused"),
        Switch(kObject, "require_helo", "no", "clients must greet"),
        Switch(kObject, "reject_invalid_helo", "no", "greetings that are no host name are refused"),
        {kObject, "client_connection_rate_limit", T::kInt, "0", 0, kMostAnHour, nullptr,
         "connections a minute of one client, 0 for no limit"},
        {kObject, "client_message_rate_limit", T::kInt, "0", 0, kMostAnHour, nullptr,
         "messages a minute of one client, 0 for no limit"},
        {kObject, "recipient_limit", T::kInt, "1000", 1, 100000, nullptr,
         "recipients of one message"},
    };
}

std::vector<SettingInfo> ImapPop3Settings()
{
    constexpr auto kObject = SettingsObject::kImapPop3;
    return {
        Switch(kObject, "imap_enabled", "yes", "IMAP, with STARTTLS"),
        Port(kObject, "imap_port", "143", "its port"),
        Switch(kObject, "imaps_enabled", "yes", "IMAP with TLS from the first byte"),
        Port(kObject, "imaps_port", "993", "its port"),
        Switch(kObject, "pop3_enabled", "no", "POP3, with STARTTLS"),
        Port(kObject, "pop3_port", "110", "its port"),
        Switch(kObject, "pop3s_enabled", "no", "POP3 with TLS from the first byte"),
        Port(kObject, "pop3s_port", "995", "its port"),
        {kObject, "max_user_connections", SettingType::kInt, "20", 1, 10000, nullptr,
         "connections of one user from one address"},
        Switch(kObject, "plaintext_auth", "no", "passwords are taken without TLS too"),
    };
}

std::vector<SettingInfo> MailScannerSettings()
{
    using T = SettingType;
    constexpr auto kObject = SettingsObject::kMailScanner;
    return {
        Switch(kObject, "anti_virus_enable", "no", "mail is scanned for viruses"),
        Switch(kObject, "spam_enable", "no", "mail is scored for spam"),
        Switch(kObject, "enable_dangerous_content_scan", "no",
               "attachments that can run are refused"),
        {kObject, "spam_tag_score", T::kInt, "5", 0, 1000, nullptr,
         "score from which mail is tagged as spam"},
        {kObject, "spam_reject_score", T::kInt, "12", 0, 1000, nullptr,
         "score from which the action on spam applies"},
        {kObject, "spam_subject_tag", T::kText, "[SPAM]", 0, 64, names::IsPlainText,
         "put before the subject of tagged mail"},
        {kObject, "spam_action", T::kText, "tag", 1, 10, names::IsSpamAction,
         "what becomes of spam: tag, quarantine, reject or discard"},
        {kObject, "virus_action", T::kText, "reject", 1, 10, names::IsVirusAction,
         "what becomes of viruses: reject, quarantine or discard"},
        Switch(kObject, "spam_bayes", "no", "the scanner learns from the mail it sees"),
    };
}

std::vector<SettingInfo> MakeTable()
{
    std::vector<SettingInfo> table;
    for (const auto& part : {SmtpSettings(), RelaySettings(), SecuritySettings(),
                             AdvancedSettings(), ImapPop3Settings(), MailScannerSettings()}) {
        table.insert(table.end(), part.begin(), part.end());
    }
    return table;
}

bool IsIntBetween(const std::string& text, int lowest, int highest)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number >= lowest && number <= highest;
}

/// Whether a setting takes one of a few words only.
bool HasChoices(const SettingInfo& setting)
{
    return setting.accepts == names::IsAccountType || setting.accepts == names::IsSpamAction ||
           setting.accepts == names::IsVirusAction;
}

std::optional<ReasonCode> FaultOfText(const SettingInfo& setting, const std::string& text)
{
    if (text.size() > static_cast<std::string::size_type>(setting.highest)) {
        return ReasonCode::kTooLong;
    }
    if (!names::IsPlainText(text)) return ReasonCode::kNotText;
    if (text.size() < static_cast<std::string::size_type>(setting.lowest)) {
        return ReasonCode::kEmpty;
    }
    if (setting.accepts(text)) return std::nullopt;
    return HasChoices(setting) ? ReasonCode::kNoChoice : ReasonCode::kBadFormat;
}

}  // namespace

const std::vector<SettingInfo>& AllSettings()
{
    static const std::vector<SettingInfo> table = MakeTable();
    return table;
}

const SettingInfo* FindSetting(const std::string& name)
{
    const auto& table = AllSettings();
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&name](const SettingInfo& info) { return name == info.name; });
    return row == table.end() ? nullptr : &*row;
}

std::optional<ReasonCode> FaultOf(const SettingInfo& setting, const std::string& text)
{
    if (setting.type == SettingType::kText) return FaultOfText(setting, text);
    if (setting.type == SettingType::kBool) {
        return text == "yes" || text == "no" ? std::nullopt : std::optional(ReasonCode::kNoChoice);
    }
    return IsIntBetween(text, setting.lowest, setting.highest)
               ? std::nullopt
               : std::optional(ReasonCode::kOutOfRange);
}

bool SettingAccepts(const SettingInfo& setting, const std::string& text)
{
    return !FaultOf(setting, text);
}

}  // namespace host::settings
