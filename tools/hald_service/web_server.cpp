// The web server of the package. lighttpd, as its own user, passes requests to fcgiwrap, which runs
// the program as root. Only lighttpd may connect to fcgiwrap's socket. The login guard blocks
// addresses whose logins fail too often.
//
// It listens on 127.0.0.1, port MAILVANE_WEB_PORT. With a certificate in etc/tls it also serves
// other machines, by TLS on port MAILVANE_WEB_TLS_PORT, unless that is empty. Both are taken from
// the environment, else from /etc/default/mailvane.
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/web_ports.h"
#include "tools/hald_service/greeting.h"
#include "tools/hald_service/own_daemons.h"
#include "tools/hald_service/units.h"

namespace service {

namespace {

using host::daemons::Daemon;
using host::daemons::WebPort;
using host::daemons::WebTlsPort;

const char kFolder[] = "/run/mailvane/web";
const char kSocket[] = "/run/mailvane/web/fcgi.sock";
const char kGateSocket[] = "mailvane-gate.socket";

/// The web server's configuration file for this machine: with or without a certificate, and IPv6.
std::string Configuration()
{
    std::string kind;
    const bool hasCertificate = access(host::PackagePath("etc/tls/cert.pem").c_str(), R_OK) == 0 &&
                                access(host::PackagePath("etc/tls/key.pem").c_str(), R_OK) == 0;
    if (!WebTlsPort().empty() && hasCertificate) {
        std::string addresses;
        const bool hasIpv6 =
            host::ReadFile(host::Path("/proc/net/if_inet6"), addresses) && !addresses.empty();
        kind = hasIpv6 ? "-tls-ipv6" : "-tls";
    }
    return host::PackagePath("target/etc/web/lighttpd" + kind + ".conf");
}

class Gate : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override
    {
        if (UnderSystemd()) {
            return Systemctl({"start", kGateSocket}) || Fail("cannot have its socket");
        }
        // The web server is stopped first, so that it does not connect meanwhile.
        return MakeWebServer(host::daemons::kWebServer, Settings())->TakeDown() && TakeDown() &&
               StartDaemon();
    }

    bool TakeDown() override
    {
        if (UnderSystemd()) {
            return Systemctl({"stop", kGateSocket, std::string(Row().unit)});
        }
        // The workers outlive the main process, so they get the signal too; each ends after
        // answering its request.
        if (const pid_t master = Master(); master != 0) {
            ProcessSet::Of(master).SignalGroups(SIGTERM);
        }
        return Supervisor::TakeDown();
    }

    bool IsUp() override { return Master() != 0 && host::daemons::ListensAt(kSocket); }

protected:
    bool Prepare() override
    {
        (void)unlink(host::Path(kSocket).c_str());
        return MakeFolder("/run/mailvane", 0755) && MakeFolder(kFolder, 0700, "root", "root");
    }

    Command StartCommand() const override
    {
        Command command = Supervisor::StartCommand();
        command.isBare = true;
        command.output = host::Path("/var/log/mailvane/web.log");
        command.appends = true;
        return command;
    }

    /// Opens the folder to the web server's group only when the socket has its mode.
    bool Finish() override
    {
        const group* const members = getgrnam("mailvane-web");
        const std::string socket = host::Path(kSocket);
        return (members != nullptr && lchown(socket.c_str(), 0, members->gr_gid) == 0 &&
                chmod(socket.c_str(), 0660) == 0 &&
                MakeFolder(kFolder, 0750, "root", "mailvane-web")) ||
               Fail("cannot open its socket to the web server: " + std::string(host::ErrnoText()));
    }
};

/// The login guard. It is restarted with the web server, whose port may have changed.
class Guard : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override { return StartAfresh(); }
    bool IsUp() override { return Master() != 0; }

protected:
    bool Prepare() override { return MakeFolder("/run/mailvane", 0755); }

    Command StartCommand() const override
    {
        Command command = Supervisor::StartCommand();
        command.environment = {std::string(host::daemons::kWebTlsPort) + "=" + WebTlsPort()};
        return command;
    }
};

class WebServer : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override { return StartAfresh(); }

    bool IsUp() override { return Master() != 0 && TakesCalls(std::atoi(WebPort().c_str())); }

protected:
    Command StartCommand() const override
    {
        Command command = Supervisor::StartCommand();
        command.words.push_back(Configuration());
        command.environment = {std::string(host::daemons::kWebPort) + "=" + WebPort(),
                               std::string(host::daemons::kWebTlsPort) + "=" + WebTlsPort()};
        return command;
    }
};

}  // namespace

std::unique_ptr<Supervisor> MakeGate(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Gate>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeGuard(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Guard>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeWebServer(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<WebServer>(daemon, stored);
}

int DrainGate(pid_t leader)
{
    if (leader <= 0) return EXIT_SUCCESS;
    const ProcessSet processes = ProcessSet::Of(leader);
    processes.SignalGroups(SIGTERM);
    const bool isGone = WaitFor(std::chrono::seconds(140), [&processes] {
        return processes.AreGone() ? Progress::kDone : Progress::kNotYet;
    });
    return isGone ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace service
