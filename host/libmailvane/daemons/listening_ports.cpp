// Which programs listen on which TCP ports. The sockets of Postfix and Dovecot are those that their
// master processes have open.
#include "host/libmailvane/daemons/listening_ports.h"

#include <algorithm>
#include <map>
#include <vector>

#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/sockets.h"

namespace host::daemons {
namespace {

constexpr int kHighestPort = 65535;

/// Postfix or Dovecot, and the services that its sockets belong to.
struct Server {
    const Daemon& daemon;
    std::set<std::string> services;
};

std::vector<Server> OurServers()
{
    return {{kPostfix, {"mail_smtp", "mail_smtps", "mail_smtp_tls"}},
            {kDovecot, {"mail_imap", "mail_imaps", "mail_pop3", "mail_pop3s"}}};
}

using SocketServices = std::map<Inode, std::set<std::string>>;

/// The services that each listening socket of Postfix and Dovecot belongs to.
SocketServices OurSockets()
{
    SocketServices services;
    for (const Server& server : OurServers()) {
        const std::string process =
            DaemonProcess(std::string(server.daemon.pidFile), std::string(server.daemon.program));
        if (process.empty()) continue;
        for (const Inode inode : OpenSockets(process)) services[inode] = server.services;
    }
    return services;
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

bool BelongsToOne(const SocketServices& sockets, Inode inode, const std::vector<std::string>& names)
{
    const auto found = sockets.find(inode);
    if (found == sockets.end()) return false;
    for (const std::string& name : names) {
        if (found->second.count(name) > 0) return true;
    }
    return false;
}

}  // namespace

Result<bool> PortsConflict(const std::string& services, int from, int to)
{
    if (from > to || from < 1 || to > kHighestPort) return false;

    const std::vector<std::string> names = SplitNames(services);
    const SocketServices ours = OurSockets();
    const Result<std::vector<Listener>> listeners = TcpListeners();
    if (!listeners) return listeners.reason();
    for (const Listener& listener : *listeners) {
        if (listener.port < from || listener.port > to) continue;
        if (!BelongsToOne(ours, listener.inode, names)) return true;
    }
    return false;
}

Result<std::set<int>> PortsHeldByOthers(const std::set<int>& ports)
{
    std::set<int> held;
    const SocketServices ours = OurSockets();
    const Result<std::vector<Listener>> listeners = TcpListeners();
    if (!listeners) return listeners.reason();
    for (const Listener& listener : *listeners) {
        if (ports.count(listener.port) > 0 && ours.count(listener.inode) == 0) {
            held.insert(listener.port);
        }
    }
    return held;
}

}  // namespace host::daemons
