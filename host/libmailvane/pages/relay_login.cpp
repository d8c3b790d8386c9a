// Checks of the login at the relay host.
#include "host/libmailvane/pages/relay_login.h"

#include <algorithm>

#include "host/libhaldcore/request_note.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/pages/taking_over.h"
#include "host/libmailvane/settings/settings_table.h"

namespace host::pages {

namespace {

using settings::StoredSettings;

const char kPassword[] = "smtp_relay_password";
const char kServer[] = "smtp_relay_server";
const char kAccount[] = "smtp_relay_account";
const char kTls[] = "smtp_relay_tls";
const char kRelaySettings[] = "smtp_relay_";

/// Whether the password would be sent to another server or port, or without TLS when it had TLS.
bool GoesElsewhere(const StoredSettings& stored, const StoredSettings& wanted)
{
    return stored.Spelled(kServer) != wanted.Spelled(kServer) ||
           stored.Spelled("smtp_relay_port") != wanted.Spelled("smtp_relay_port") ||
           (stored.Bool(kTls) && !wanted.Bool(kTls));
}

/// Whether a form changes the relay. Other pages send the relay's settings along unchanged.
bool IsAboutRelay(const StoredSettings& stored, const StoredSettings& wanted,
                  const std::set<std::string>& given)
{
    return NotedRequest().action == "save_relay" || given.count(kPassword) != 0 ||
           std::any_of(given.begin(), given.end(), [&](const std::string& name) {
               return name.rfind(kRelaySettings, 0) == 0 &&
                      stored.Spelled(name) != wanted.Spelled(name);
           });
}

/// Whether blanks begin or end a text. The map that hands a login to the mail server loses them.
bool HasBlanksAround(const std::string& text)
{
    return Trim(text) != text;
}

/// What the relay lacks, as a reason; none when it has all or is off.
Result<void> RelayIsComplete(const StoredSettings& settings)
{
    if (!settings.Bool("smtp_relay_enabled")) return {};
    if (settings.Text(kServer).empty()) {
        return Reason{ReasonCode::kEmpty, Subject::Setting(kServer), "the relay needs a server"};
    }
    if (settings.Bool("smtp_relay_auth") && settings.Text(kAccount).empty()) {
        return Reason{ReasonCode::kEmpty, Subject::Setting(kAccount),
                      "the login at the relay needs an account"};
    }
    return {};
}

/// Refuses what no daemon could carry out. What is stored so already keeps no other form away.
Result<void> JudgeRelay(const StoredSettings& stored, const StoredSettings& wanted,
                        const std::set<std::string>& given)
{
    for (const char* name : {kAccount, kPassword}) {
        const bool isNew = given.count(name) != 0 && wanted.Text(name) != stored.Text(name);
        if (isNew && HasBlanksAround(wanted.Text(name))) {
            return Reason{ReasonCode::kBlanks, Subject::Setting(*settings::FindSetting(name)),
                          std::string(name) + " must not begin or end with a blank"};
        }
    }
    Result<void> complete = RelayIsComplete(wanted);
    return RelayIsComplete(stored) ? complete : Result<void>();
}

}  // namespace

Result<void> JudgeRelayLogin(const StoredSettings& stored, StoredSettings& wanted,
                             const std::set<std::string>& given)
{
    Result<void> good = JudgeRelay(stored, wanted, given);
    if (!good) return good;

    if (!wanted.Bool("smtp_relay_auth")) {
        wanted.Set(kPassword, "");
    } else if (!stored.Text(kPassword).empty() && given.count(kPassword) == 0 &&
               GoesElsewhere(stored, wanted)) {
        return Reason{ReasonCode::kTypeAgain, Subject::Setting(kPassword),
                      "the stored password of the relay was given for another server, another port "
                      "or TLS: type it again"};
    }
    if (IsAboutRelay(stored, wanted, given) && !TakesOver("relay")) wanted.SetRelayIsVerified();
    return {};
}

}  // namespace host::pages
