// The daemons' units, where systemd runs the machine: each daemon is in one, so that it is started
// when the machine is, and watched over.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/daemons/daemons.h"

namespace service {

bool UnderSystemd();

/// Whether the mail services of this machine are ours to start and stop.
bool HandedOver();

/// Whether this is part of what finishes an interrupted save when the machine starts. All daemons
/// wait for the end of that: what is asked of them then is put in the queue.
bool BootRecovers();

/// Runs systemctl with these words; whether it succeeded.
bool Systemctl(std::vector<std::string> words);

/// The machine starts the daemon exactly when its settings want it. A change makes systemd read all
/// its units anew: there is none while the link is as it should be.
bool FollowAtBoot(const host::daemons::Daemon& daemon, bool isWanted);

}  // namespace service
