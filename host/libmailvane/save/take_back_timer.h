// The timer that takes back what is not confirmed: a transient one of systemd, which starts the
// unit mailvane-take-back; on a machine without systemd a process that waits.
#pragma once

#include <cstdint>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Has `hald_set_config take-back` run after `seconds`, which waits itself for what is left then.
/// Replaces a timer that runs.
Result<void> StartTakeBackTimer(std::int64_t seconds);

/// Ends the timer, if one runs. A process that waits ends by itself.
void StopTakeBackTimer();

}  // namespace host::save
