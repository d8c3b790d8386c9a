// Resource limits of the process that answers a request, and their absence in what it starts.
#pragma once

namespace host {

/// Lowers the soft limits of this process: no core dump, 512 MiB of address space, 60 s of
/// processor time. A request that asks for more memory then ends as `std::bad_alloc`. Built with a
/// sanitizer, memory stays unlimited, since the sanitizer reserves terabytes of addresses.
void LimitThisProcess();

/// Sets the limits back to those that `LimitThisProcess` found, in a child between fork and exec:
/// a daemon started by a request runs as one started at boot. Does nothing when this process was
/// never limited. Safe where only async-signal-safe calls are.
void RestoreLimits();

}  // namespace host
