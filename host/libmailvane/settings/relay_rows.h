// Settings of the relay page.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kRelay{"relay", "relay", Title("Relay host")};
inline constexpr Place kRelayLogin{"relay", "relay_login", Title("Login at the relay host")};

inline constexpr SettingRow kRelayRows[] = {
    {SettingsObject::kPostfix, Name("smtp_relay_enabled"), Value::Switch("no"),
     Title("Outgoing mail by the relay host"),
     Help("Mail for others goes out through the relay host."), kRelay, Needs::Nothing(),
     Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_server"),
     Value::Text("", 0, kLongestText, kHostOrAddressOrEmpty), Title("Relay host"),
     Help("Outgoing mail is handed to this host."), kRelay, Needs("smtp_relay_enabled", "yes"),
     Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_port"), Value::Port("587"),
     Title("Port of the relay host"), Help("The relay host takes mail on this port."), kRelay,
     Needs("smtp_relay_enabled", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_tls"), Value::Switch("yes"),
     Title("TLS to the relay host"),
     Help("The relay host is only spoken to with TLS; on port 465 from the first byte."), kRelay,
     Needs("smtp_relay_enabled", "yes"),
     Warning("Without TLS, mail and login can be read on their way."), Restarts("postfix"),
     Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_auth"), Value::Switch("no"),
     Title("Login at the relay host"), Help("The relay host asks for a login."), kRelayLogin,
     Needs("smtp_relay_enabled", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_account"),
     Value::Text("", 0, kLongestText, kRelayAccount), Title("Login name at the relay host"),
     Help("This server logs in to the relay host by this name."), kRelayLogin,
     Needs("smtp_relay_auth", "yes"), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("smtp_relay_password"), Value::Password(kLongestText),
     Title("Password at the relay host"),
     Help("This server logs in to the relay host with this password; an empty one in a save keeps "
          "the stored one."),
     kRelayLogin, Needs("smtp_relay_auth", "yes"), Warning::None(), Restarts("postfix"),
     Since("0.1.0")},
};

}  // namespace host::settings
