// Limits and signals of the process that answers a request.
#pragma once

namespace kos {

/// Called at the start of a request: sets umask 077, lowers resource limits, and lets SIGPIPE end a
/// download whose client has disconnected. Blocks SIGTERM and SIGHUP until it is known what the
/// request does.
void PrepareProcess();

/// For a request that changes something: also blocks SIGPIPE, so that no signal ends the process
/// halfway. Programs that it starts have no signals blocked.
void DeferSignals();

/// For a request that only reads: unblocks SIGTERM and SIGHUP, by which web servers end a long
/// request whose client has disconnected.
void AllowSignals();

/// Ends this process after so many seconds, whatever it does then; never for 0.
void EndAfter(unsigned seconds);

}  // namespace kos
