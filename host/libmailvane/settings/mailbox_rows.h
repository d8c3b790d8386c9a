// Settings of the IMAP and POP3 page.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kImap{"imap_pop3", "imap", Title("IMAP")};
inline constexpr Place kPop3{"imap_pop3", "pop3", Title("POP3")};
inline constexpr Place kLogins{"imap_pop3", "logins", Title("Logins")};

inline constexpr SettingRow kMailboxRows[] = {
    {SettingsObject::kImapPop3, Name("imap_enabled"), Value::Switch("yes"), Title("IMAP"),
     Help("Mail programs may read mail by IMAP on a port that offers STARTTLS."), kImap,
     Needs::Nothing(), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("imap_port"), Value::Port("143"), Title("IMAP port"),
     Help("IMAP with STARTTLS is on this port."), kImap, Needs("imap_enabled", "yes"),
     Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("imaps_enabled"), Value::Switch("yes"), Title("IMAP with TLS"),
     Help("Mail programs may read mail by IMAP on a port that speaks TLS from the first byte."),
     kImap, Needs::Nothing(), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("imaps_port"), Value::Port("993"),
     Title("Port of IMAP with TLS"),
     Help("IMAP that speaks TLS from the first byte is on this port."), kImap,
     Needs("imaps_enabled", "yes"), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("pop3_enabled"), Value::Switch("no"), Title("POP3"),
     Help("Mail programs may fetch mail by POP3 on a port that offers STARTTLS."), kPop3,
     Needs::Nothing(), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("pop3_port"), Value::Port("110"), Title("POP3 port"),
     Help("POP3 with STARTTLS is on this port."), kPop3, Needs("pop3_enabled", "yes"),
     Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("pop3s_enabled"), Value::Switch("no"), Title("POP3 with TLS"),
     Help("Mail programs may fetch mail by POP3 on a port that speaks TLS from the first byte."),
     kPop3, Needs::Nothing(), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("pop3s_port"), Value::Port("995"),
     Title("Port of POP3 with TLS"),
     Help("POP3 that speaks TLS from the first byte is on this port."), kPop3,
     Needs("pop3s_enabled", "yes"), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("max_user_connections"),
     Value::Number("20", 1, 10000, kConnections), Title("Connections of one user"),
     Help("One user may have this many connections from one address at a time."), kLogins,
     Needs::Nothing(), Warning::None(), Restarts("dovecot"), Since("0.1.0")},
    {SettingsObject::kImapPop3, Name("plaintext_auth"), Value::Switch("no"),
     Title("Logins without TLS"), Help("Passwords are taken without TLS, too."), kLogins,
     Needs::Nothing(), Warning("Passwords that are sent without TLS can be read on their way."),
     Restarts("postfix dovecot"), Since("0.1.0")},
};

}  // namespace host::settings
