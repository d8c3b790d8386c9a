// Daemons with ways of their own; a row of the table that is not here behaves as the others do.
#pragma once

#include "tools/hald_service/inner_daemon.h"

namespace service {

using Maker = std::unique_ptr<Supervisor> (*)(const host::daemons::Daemon& daemon,
                                              const Stored& stored);

std::unique_ptr<Supervisor> MakeScanner(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeScannerMilter(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeDkimFilter(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeVirusEngine(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeGate(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeGuard(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeWebServer(const host::daemons::Daemon&, const Stored&);

/// What the engine's starter in the background does; nobody waits for it. The exit status.
int BeginVirusEngine(const Stored& stored);

/// What stops the gate's unit: a request that is under way is answered.
int DrainGate(pid_t leader);

}  // namespace service
