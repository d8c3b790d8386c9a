// Starting and stopping the servers through the package's control scripts.
#pragma once

#include <string>

#include "host/libmailvane/daemons/daemons.h"
#include "platform/mailvane/callback.h"

namespace host::daemons {

/// Runs the control script of a daemon's service with a verb, "start", "stop" or "restart", and
/// waits until the service is up or gone. 0, or -1 (logged) for another verb or when the script
/// failed.
int RunControlScript(const daemons::Daemon& daemon, const std::string& verb);

/// The same as a step of a plan.
Callback ServiceStep(const daemons::Daemon& daemon, const std::string& verb);

/// Whether the machine's mail services are ours to start and stop. A machine run by systemd has to
/// be handed over first (etc/adopted).
bool ServicesAreOurs();

}  // namespace host::daemons
