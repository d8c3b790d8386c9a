// Daemons that differ from the standard supervisors; rows of the table that are not here do not.
#pragma once

#include "tools/hald_service/inner_daemon.h"

namespace service {

using Maker = std::unique_ptr<Supervisor> (*)(const host::daemons::Daemon& daemon,
                                              const Stored& stored);

std::unique_ptr<Supervisor> MakeScanner(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeScannerMilter(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeDkimFilter(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeDmarcFilter(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeVirusEngine(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeGate(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeGuard(const host::daemons::Daemon&, const Stored&);
std::unique_ptr<Supervisor> MakeWebServer(const host::daemons::Daemon&, const Stored&);

/// Runs as the background process that starts the anti-virus engine. Returns the exit status.
int BeginVirusEngine(const Stored& stored);

/// Stops the gate's unit, whose main process is `leader`, after it has answered the requests under
/// way.
int DrainGate(pid_t leader);

}  // namespace service
