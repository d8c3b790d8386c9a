// What the self-check says when it asks the mail server whether strangers may relay. The mail log
// knows it by all of this together, and leaves it out.
#pragma once

namespace host::names {

/// Addresses of this machine's own from which it asks: no client elsewhere can have them.
constexpr char kProbeAddress[] = "127.0.0.2";
constexpr char kProbeAddress6[] = "::1";

/// The name that it gives itself, and the recipient, whom nobody can have.
constexpr char kProbeName[] = "self-check.invalid";
constexpr char kProbeRecipient[] = "somebody@self-check.invalid";

}  // namespace host::names
