// The units of the daemons, on machines with systemd. The unit starts its daemon at boot and
// restarts it when it dies.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/daemons/daemons.h"

namespace service {

bool UnderSystemd();

/// Whether the package controls the mail services of this machine.
bool HandedOver();

/// Whether this process belongs to the recovery of an interrupted save at boot. All daemons start
/// after the recovery, so a start asked for now is only queued.
bool BootRecovers();

/// Runs systemctl with these arguments; whether it succeeded.
bool Systemctl(std::vector<std::string> words);

/// Enables or disables the daemon's unit for the boot. Skipped when its link is right already,
/// since systemd reloads all units after a change.
bool FollowAtBoot(const host::daemons::Daemon& daemon, bool isWanted);

}  // namespace service
