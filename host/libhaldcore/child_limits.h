// Resource limits of the process that answers a request; programs that it starts do not have them.
#pragma once

namespace host {

/// Lowers the soft limits of this process: no core dump, 512 MiB of address space, 60 s of CPU
/// time. A request that needs more memory gets `std::bad_alloc`. Sanitizer builds keep unlimited
/// memory, since a sanitizer reserves terabytes of addresses.
void LimitThisProcess();

/// Restores the limits from before `LimitThisProcess`, in a child between fork and exec, so that a
/// daemon started by a request has the limits of one started at boot. Async-signal-safe.
void RestoreLimits();

}  // namespace host
