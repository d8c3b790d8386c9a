// Settings of the security page but those of the scanner.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kSenderChecks{"security", "sender_checks", Title("Checks of senders")};
inline constexpr Place kSigning{"security", "signing", Title("Signatures")};
inline constexpr Place kSendersRate{"security", "senders_rate", Title("Limit of sending")};

inline constexpr SettingRow kSecurityRows[] = {
    {SettingsObject::kPostfix, Name("spam_dnsbl_enable"), Value::Switch("no"),
     Title("DNS blocklists"),
     Help("Mail is refused when one of the DNS blocklists has its client or its sender."),
     kSenderChecks, Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("enable_spf_check"), Value::Switch("no"), Title("SPF check"),
     Help("Mail is refused when its sender's domain forbids the machine that it comes from (SPF)."),
     kSenderChecks, Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_spf_soft_fail"), Value::Switch("no"),
     Title("Refuse soft failures of SPF"),
     Help("Mail is refused, too, when its sender's domain only advises against the machine that it "
          "comes from (SPF soft fail)."),
     kSenderChecks, Needs("enable_spf_check", "yes"), Warning::None(), Restarts("postfix"),
     Since("0.1.0")},
    {SettingsObject::kPostfix, Name("enable_dkim"), Value::Switch("no"), Title("DKIM signatures"),
     Help("Mail that leaves this server is signed (DKIM)."), kSigning, Needs::Nothing(),
     Warning("Signatures cannot be checked until the DNS has the public key."),
     Restarts("postfix opendkim"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("dkim_selector"), Value::Text("mail", 1, 63, kLabel),
     Title("DKIM selector"),
     Help("The DNS has the public key under this name, followed by ._domainkey and the mail "
          "domain."),
     kSigning, Needs("enable_dkim", "yes"),
     Warning("Mail is signed by the new name at once: the DNS should have it before."),
     Restarts("opendkim"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("enable_dmarc"), Value::Switch("no"), Title("DMARC check"),
     Help("Mail is refused when its author's domain asks for that by its policy (DMARC)."),
     kSenderChecks, Needs::Nothing(), Warning::None(), Restarts("postfix opendkim opendmarc"),
     Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_sasl_sender_rate_exceed"), Value::Switch("no"),
     Title("Limit what logins send"),
     Help("Mail of a login that has reached its limit for the hour is refused."), kSendersRate,
     Needs::Nothing(), Warning::None(), Restarts("postfix memcached"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtpd_sasl_sender_rate_limit"),
     Value::Number("100", 1, 1000000, kPerHour), Title("Limit of a login"),
     Help("A login without a limit of its own may send this many messages an hour."), kSendersRate,
     Needs("reject_sasl_sender_rate_exceed", "yes"), Warning("Counting begins anew."),
     Restarts("postfix memcached"), Since("0.1.0")},
};

}  // namespace host::settings
