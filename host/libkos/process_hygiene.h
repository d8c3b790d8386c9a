// Limits and signals of the process that answers a request.
#pragma once

namespace kos {

/// At the start of a request: sets the umask to 077, lowers the limits of this process, lets a
/// download whose client has gone end by SIGPIPE, whatever was inherited, and makes SIGTERM and
/// SIGHUP wait, since what the request will do is not known yet.
void PrepareProcess();

/// For a request that changes something: SIGPIPE waits as well, so that no signal ends the process
/// between two steps. All three wait until it ends. Programs it starts are not concerned.
void DeferSignals();

/// For a request that only reads: SIGTERM and SIGHUP end it again, as a web server ends a long
/// search whose client has gone.
void AllowSignals();

}  // namespace kos
