// The login at the relay host: whom it is given to.
#include "host/libmailvane/pages/relay_login.h"

#include <algorithm>

#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/pages/taking_over.h"

namespace host::pages {

namespace {

using settings::StoredSettings;

const char kPassword[] = "smtp_relay_password";
const char kTls[] = "smtp_relay_tls";
const char kRelaySettings[] = "smtp_relay_";

/// Whether what is sent to the relay host would reach another one, or others on the way to it.
bool GoesElsewhere(const StoredSettings& stored, const StoredSettings& wanted)
{
    return stored.Spelled("smtp_relay_server") != wanted.Spelled("smtp_relay_server") ||
           stored.Spelled("smtp_relay_port") != wanted.Spelled("smtp_relay_port") ||
           (stored.Bool(kTls) && !wanted.Bool(kTls));
}

/// Whether a form is about the relay. Other pages send the relay's settings along as they are.
bool IsAboutRelay(const StoredSettings& stored, const StoredSettings& wanted,
                  const std::set<std::string>& given)
{
    return NotedRequest().action == "save_relay" || given.count(kPassword) != 0 ||
           std::any_of(given.begin(), given.end(), [&](const std::string& name) {
               return name.rfind(kRelaySettings, 0) == 0 &&
                      stored.Spelled(name) != wanted.Spelled(name);
           });
}

}  // namespace

Result<void> JudgeRelayLogin(const StoredSettings& stored, StoredSettings& wanted,
                             const std::set<std::string>& given)
{
    if (!wanted.Bool("smtp_relay_auth")) {
        wanted.Set(kPassword, "");
    } else if (!stored.Text(kPassword).empty() && given.count(kPassword) == 0 &&
               GoesElsewhere(stored, wanted)) {
        return Reason{ReasonCode::kRefused, kPassword,
                      "the stored password of the relay was given for another server, another port "
                      "or TLS: type it again"};
    }
    if (IsAboutRelay(stored, wanted, given) && !TakesOver("relay")) wanted.SetRelayIsVerified();
    return {};
}

}  // namespace host::pages
