// Settings of the SMTP page.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kServer{"smtp", "server", Title("Server")};
inline constexpr Place kSubmission{"smtp", "submission", Title("Submission")};
inline constexpr Place kAccounts{"smtp", "accounts", Title("Accounts")};

inline constexpr Choice kAccountTypes[] = {
    {"local", Title("Accounts of this machine")},
    {"ldap", Title("LDAP directory")},
    {"win", Title("Windows domain")},
};

inline constexpr SettingRow kSmtpRows[] = {
    {SettingsObject::kPostfix, Name("smtp_enabled"), Value::Switch("yes"), Title("SMTP server"),
     Help(
         "The SMTP server runs: it takes mail from other servers and from logins and sends it on."),
     kServer, Needs::Nothing(), Warning("While it is off, no mail comes in and none goes out."),
     Restarts("postfix dovecot"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_port"), Value::Port("25"), Title("SMTP port"),
     Help("Mail from other servers is taken on this port."), kServer, Needs("smtp_enabled", "yes"),
     Warning("Other servers deliver to port 25 alone."), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_ssl_enabled"), Value::Switch("no"),
     Title("Submission with TLS"),
     Help("Mail programs may submit mail on a port that speaks TLS from the first byte."),
     kSubmission, Needs("smtp_enabled", "yes"), Warning::None(), Restarts("postfix"),
     Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtps_port"), Value::Port("465"),
     Title("Port of submission with TLS"),
     Help("Submission that speaks TLS from the first byte is on this port."), kSubmission,
     Needs("smtp_ssl_enabled", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_tls_enabled"), Value::Switch("yes"),
     Title("Submission with STARTTLS"),
     Help("Mail programs may submit mail on a port that asks for STARTTLS."), kSubmission,
     Needs("smtp_enabled", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_tls_port"), Value::Port("587"),
     Title("Port of submission with STARTTLS"),
     Help("Submission that asks for STARTTLS is on this port."), kSubmission,
     Needs("smtp_tls_enabled", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_auth_required"), Value::Switch("yes"),
     Title("Login of this machine's programs"),
     Help("This machine's own programs must log in, too, before their mail is relayed to others."),
     kSubmission, Needs("smtp_enabled", "yes"),
     Warning("While it is off, every user and program of this machine can send mail to anybody."),
     Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("restrict_sender"), Value::Switch("no"),
     Title("Own sender addresses only"), Help("A login may send as its own addresses only."),
     kSubmission, Needs("smtp_enabled", "yes"), Warning::None(), Restarts("postfix"),
     Since("0.1.0")},
    {SettingsObject::kPostfix, Name("account_type"), Value::OneOf("local", kAccountTypes),
     Title("Account source"), Help("The accounts of the mail server come from this source."),
     kAccounts, Needs::Nothing(),
     Warning("Aliases, lists and the copy of all mail of the present accounts are parked, those "
             "that were parked for the new ones come back."),
     Restarts("postfix dovecot"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("acc_domain_name"),
     Value::Text("", 0, kLongestText, kHostNameOrEmpty), Title("Mail domain of the accounts"),
     Help("The addresses of the accounts end with this domain; when it is empty, they end with the "
          "host name."),
     kAccounts, Needs::Nothing(),
     Warning("Aliases, lists and the copy of all mail of the present accounts are parked, those "
             "that were parked for the new ones come back."),
     Restarts("postfix dovecot opendkim mailscanner"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("win_domain_short_name"),
     Value::Text("", 0, 15, kShortDomainOrEmpty), Title("Short name of the Windows domain"),
     Help("Logins of the Windows domain may put this name and a backslash before the name of the "
          "account."),
     kAccounts, Needs("account_type", "win"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_hostname"),
     Value::Text("localhost.localdomain", 1, kLongestText, kHostName), Title("Host name"),
     Help("The SMTP server announces itself by this name."), kServer, Needs::Nothing(),
     Warning("Other servers look the name up: the DNS should lead from it to this machine's "
             "address and back."),
     Restarts("postfix dovecot opendkim opendmarc mailscanner"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("message_size_limit_mb"),
     Value::Number("50", 1, 2000, kMebibytes), Title("Largest message"),
     Help("A message that is larger than this is refused."), kServer, Needs::Nothing(),
     Warning::None(), Restarts("postfix"), Since("0.1.0")},
};

}  // namespace host::settings
