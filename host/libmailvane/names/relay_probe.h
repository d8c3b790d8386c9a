// The SMTP dialogue by which the self-check tests for an open relay. The mail log recognises it by
// all of these values together and leaves it out.
#pragma once

namespace host::names {

/// The addresses of this machine that the probe comes from; no remote client can have them.
constexpr char kProbeAddress[] = "127.0.0.2";
constexpr char kProbeAddress6[] = "::1";

/// The probe's HELO name, and its recipient; both are in a domain that cannot exist.
constexpr char kProbeName[] = "self-check.invalid";
constexpr char kProbeRecipient[] = "somebody@self-check.invalid";

}  // namespace host::names
