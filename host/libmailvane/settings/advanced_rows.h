// Settings of the page of advanced checks.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kStrictSenders{"adv_anti_spam", "strict_senders",
                                      Title("Strictness with senders")};
inline constexpr Place kStrictClients{"adv_anti_spam", "strict_clients",
                                      Title("Strictness with clients")};
inline constexpr Place kLimits{"adv_anti_spam", "limits", Title("Limits")};

inline constexpr SettingRow kAdvancedRows[] = {
    {SettingsObject::kPostfix, Name("reject_unknown_sender_domain"), Value::Switch("no"),
     Title("Refuse unknown sender domains"),
     Help("Mail is refused when the DNS does not know the domain of its sender."), kStrictSenders,
     Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_non_fqdn_sender"), Value::Switch("no"),
     Title("Refuse incomplete sender addresses"),
     Help("Mail is refused when the address of its sender has no full domain."), kStrictSenders,
     Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_unknown_client_hostname"), Value::Switch("no"),
     Title("Refuse clients without a confirmed name"),
     Help("Clients are refused whose address and host name do not lead to each other in the DNS."),
     kStrictClients, Needs::Nothing(),
     Warning("Some honest servers have no such name, and their mail is refused, too."),
     Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_unauth_pipelining"), Value::Switch("no"),
     Title("Refuse hasty clients"),
     Help("Clients are refused that send commands ahead of their turn."), kStrictClients,
     Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("require_helo"), Value::Switch("no"),
     Title("Clients must greet"), Help("Clients must greet before they may send mail."),
     kStrictClients, Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("reject_invalid_helo"), Value::Switch("no"),
     Title("Refuse invalid greetings"), Help("Clients are refused whose greeting is no host name."),
     kStrictClients, Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("client_connection_rate_limit"),
     Value::Number("0", 0, 1000000, kPerMinute), Title("Connections of one client"),
     Help("One client may connect this many times a minute; 0 sets no limit."), kLimits,
     Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("client_message_rate_limit"),
     Value::Number("0", 0, 1000000, kPerMinute), Title("Messages of one client"),
     Help("One client may send this many messages a minute; 0 sets no limit."), kLimits,
     Needs::Nothing(), Warning::None(), Restarts("postfix"), Since("0.1.0")},
    {SettingsObject::kPostfix, Name("recipient_limit"),
     Value::Number("1000", 1, 100000, kRecipients), Title("Recipients of one message"),
     Help("One message may have this many recipients."), kLimits, Needs::Nothing(), Warning::None(),
     Restarts("postfix"), Since("0.1.0")},
};

}  // namespace host::settings
