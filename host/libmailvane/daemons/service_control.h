// Starting and stopping services by the package's control scripts.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/daemons/daemons.h"
#include "platform/mailvane/callback.h"

namespace host::daemons {

/// Runs the control script of a daemon's service with "start", "stop" or "restart" and waits until
/// the service runs or has stopped. Fails for any other verb, or when the script does.
Result<void> RunControlScript(const daemons::Daemon& daemon, const std::string& verb);

/// The same call as a step of a plan.
Callback ServiceStep(const daemons::Daemon& daemon, const std::string& verb);

/// Makes the next answer of `MailScanner::Service` negative, after it has done what it is asked
/// for: something that the scanner was to read was refused, and nobody has looked at that.
void MarkScanner();

/// Makes the next restart by `MailScanner::Service` do nothing: the scanner has just been restarted
/// with all that is in force.
void SpareScanner();

/// Whether the package controls the machine's mail services. A machine with systemd must be handed
/// over first, which creates etc/adopted.
bool ServicesAreOurs();

}  // namespace host::daemons
