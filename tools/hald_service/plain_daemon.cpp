// The supervisor of each daemon, and the simplest one: for daemons that need no new configuration.
#include "tools/hald_service/mail_server.h"
#include "tools/hald_service/own_daemons.h"

namespace service {

namespace {

/// A daemon that is left alone while it runs.
class PlainDaemon : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override { return IsUp() || StartAfresh(); }
    bool IsUp() override { return Master() != 0; }

protected:
    bool Prepare() override { return MakeFolder("/run/mailvane", 0755); }
};

constexpr struct {
    const host::daemons::Daemon& daemon;
    Maker make;
} kMakers[] = {
    {host::daemons::kDovecot, MakeDovecot},
    {host::daemons::kPostfix, MakePostfix},
    {host::daemons::kDkimFilter, MakeDkimFilter},
    {host::daemons::kDmarcFilter, MakeDmarcFilter},
    {host::daemons::kAntiVirus, MakeVirusEngine},
    {host::daemons::kScanner, MakeScanner},
    {host::daemons::kScannerMilter, MakeScannerMilter},
    {host::daemons::kGate, MakeGate},
    {host::daemons::kGuard, MakeGuard},
    {host::daemons::kWebServer, MakeWebServer},
};

}  // namespace

std::unique_ptr<Supervisor> SupervisorOf(const host::daemons::Daemon& daemon, const Stored& stored)
{
    for (const auto& row : kMakers) {
        if (row.daemon.name == daemon.name) return row.make(daemon, stored);
    }
    if (daemon.socket.empty()) return std::make_unique<PlainDaemon>(daemon, stored);
    return std::make_unique<InnerDaemon>(daemon, stored);
}

}  // namespace service
