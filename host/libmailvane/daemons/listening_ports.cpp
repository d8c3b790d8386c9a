// Which programs listen on which TCP ports. The sockets of Postfix and Dovecot are those that their
// master processes have open.
#include "host/libmailvane/daemons/listening_ports.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/sockets.h"

namespace host::daemons {
namespace {

constexpr int kHighestPort = 65535;

/// The server whose sockets are those of a mail service.
const Daemon& ServerOf(const MailService& service)
{
    return service.isSmtp ? kPostfix : kDovecot;
}

/// The sockets that a daemon's process has open.
std::set<Inode> SocketsOf(const Daemon& daemon)
{
    const std::string process =
        DaemonProcess(std::string(daemon.pidFile), std::string(daemon.program));
    return process.empty() ? std::set<Inode>() : OpenSockets(process);
}

/// The daemon that has a socket open; null for a program of others.
const Daemon* OwnerOf(Inode inode)
{
    for (const Daemon& daemon : kDaemons) {
        if (SocketsOf(daemon).count(inode) > 0) return &daemon;
    }
    return nullptr;
}

/// The listening sockets on ports of a range that are not among `ours`, one of each port.
Result<std::vector<HeldPort>> HeldBesides(const std::set<Inode>& ours,
                                          const std::function<bool(int)>& isAskedFor)
{
    const Result<std::vector<Listener>> listeners = TcpListeners();
    if (!listeners) return listeners.reason();
    std::map<int, Inode> held;
    for (const Listener& listener : *listeners) {
        if (isAskedFor(listener.port) && ours.count(listener.inode) == 0) {
            held.emplace(listener.port, listener.inode);
        }
    }
    std::vector<HeldPort> ports;
    ports.reserve(held.size());
    for (const auto& [port, inode] : held) ports.push_back({port, OwnerOf(inode)});
    return ports;
}

std::vector<std::string> SplitNames(const std::string& list)
{
    std::vector<std::string> names;
    size_t start = 0;
    while (start <= list.size()) {
        const size_t end = std::min(list.find(',', start), list.size());
        const size_t first = list.find_first_not_of(" \t", start);
        if (first < end) {
            const size_t last = list.find_last_not_of(" \t", end - 1);
            names.push_back(list.substr(first, last - first + 1));
        }
        start = end + 1;
    }
    return names;
}

/// The mail services that a list names.
std::vector<const MailService*> NamedServices(const std::string& list)
{
    std::vector<const MailService*> services;
    for (const std::string& name : SplitNames(list)) {
        for (const MailService& service : kMailServices) {
            if (name == service.registered) services.push_back(&service);
        }
    }
    return services;
}

}  // namespace

Reason PortIsHeld(const HeldPort& held, const MailService* wantedFor, std::string text)
{
    const Subject owner =
        held.owner == nullptr ? Subject::Service("other") : Subject::Service(*held.owner);
    Reason reason{ReasonCode::kPortInUse, "port " + std::to_string(held.port), std::move(text)};
    if (wantedFor != nullptr) reason.about = Subject::Setting({*wantedFor, &MailService::portKey});
    reason.causes = {{ReasonCode::kHoldsPort, owner, ""}};
    return reason;
}

const MailService* NamedService(const std::string& services)
{
    const auto named = NamedServices(services);
    return named.empty() ? nullptr : named.front();
}

Result<std::vector<HeldPort>> PortsInConflict(const std::string& services, int from, int to)
{
    if (from > to || from < 1 || to > kHighestPort) return std::vector<HeldPort>();

    std::set<Inode> ours;
    for (const MailService* service : NamedServices(services))
        ours.merge(SocketsOf(ServerOf(*service)));
    return HeldBesides(ours, [from, to](int port) { return port >= from && port <= to; });
}

Result<std::vector<HeldPort>> PortsHeldByOthers(const std::set<int>& ports)
{
    std::set<Inode> ours = SocketsOf(kPostfix);
    ours.merge(SocketsOf(kDovecot));
    return HeldBesides(ours, [&ports](int port) { return ports.count(port) > 0; });
}

}  // namespace host::daemons
