// Resource limits of the programs that are started.
#pragma once

namespace host {

/// Sets the resource limits back to those of the machine, in a child between fork and exec. Safe
/// where only async-signal-safe calls are.
void RestoreLimits();

}  // namespace host
