// Who listens on which TCP port. Reads /proc/net/tcp and tcp6, the pid files of our two servers and
// the open descriptors of their masters, which keep every listening socket open.
#include "host/libmailvane/system/listening_ports.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/system/daemon_process.h"

namespace host::system {
namespace {

constexpr int kHighestPort = 65535;
constexpr unsigned kListening = 0x0a;

using Inode = unsigned long long;

/// One listening socket.
struct Listener {
    int port;
    Inode inode;
};

/// A server of ours: where to find its master, and the services that its sockets belong to.
struct Server {
    const char* pidFile;
    const char* program;
    std::set<std::string> services;
};

std::vector<Server> OurServers()
{
    return {
        {"/var/spool/postfix/pid/master.pid",
         "/usr/lib/postfix/sbin/master",
         {"mail_smtp", "mail_smtps", "mail_smtp_tls"}},
        {"/run/dovecot/master.pid",
         "/usr/sbin/dovecot",
         {"mail_imap", "mail_imaps", "mail_pop3", "mail_pop3s"}},
    };
}

/// Takes one line of the kernel's table:
/// "sl local:port remote:port state queues timer retransmits uid timeout inode ...".
std::optional<Listener> ParseSocket(const char* line)
{
    unsigned port = 0;
    unsigned state = 0;
    Inode inode = 0;
    const int fields = std::sscanf(  // NOLINT(cert-err34-c)
        line, " %*d: %*[0-9A-Fa-f]:%4x %*s %2x %*s %*s %*s %*s %*s %llu", &port, &state, &inode);
    if (fields != 3 || state != kListening) return std::nullopt;
    return Listener{static_cast<int>(port), inode};
}

void AddListeners(const std::string& table, std::vector<Listener>& listeners)
{
    size_t start = 0;
    while (start < table.size()) {
        const size_t end = std::min(table.find('\n', start), table.size());
        const std::string line = table.substr(start, end - start);
        if (const std::optional<Listener> listener = ParseSocket(line.c_str())) {
            listeners.push_back(*listener);
        }
        start = end + 1;
    }
}

/// Every listening TCP socket. Without IPv6 there is no second table.
std::vector<Listener> Listeners()
{
    std::vector<Listener> listeners;
    for (const char* name : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::string table;
        if (ReadFile(Path(name), table)) {
            AddListeners(table, listeners);
        } else if (errno != ENOENT) {
            Log(LOG_ERR, "cannot read %s: %s", name, std::strerror(errno));
        }
    }
    return listeners;
}

/// The sockets that a process has open.
std::set<Inode> SocketsOf(const std::string& process)
{
    std::set<Inode> sockets;
    const std::string folder = process + "/fd";
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.c_str()), ::closedir);
    if (!directory) return sockets;

    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string target = LinkTarget(folder + "/" + entry->d_name);
        if (target.rfind("socket:[", 0) != 0) continue;
        sockets.insert(std::strtoull(target.c_str() + std::strlen("socket:["), nullptr, 10));
    }
    return sockets;
}

using SocketServices = std::map<Inode, std::set<std::string>>;

/// The services that each socket of our own servers belongs to.
SocketServices OurSockets()
{
    SocketServices services;
    for (const Server& server : OurServers()) {
        const std::string process = DaemonProcess(server.pidFile, server.program);
        if (process.empty()) continue;
        for (const Inode inode : SocketsOf(process)) services[inode] = server.services;
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

bool PortsConflict(const std::string& services, int from, int to)
{
    if (from > to || from < 1 || to > kHighestPort) return false;

    const std::vector<std::string> names = SplitNames(services);
    const SocketServices ours = OurSockets();
    for (const Listener& listener : Listeners()) {
        if (listener.port < from || listener.port > to) continue;
        if (!BelongsToOne(ours, listener.inode, names)) return true;
    }
    return false;
}

std::set<int> PortsHeldByOthers(const std::set<int>& ports)
{
    std::set<int> held;
    const SocketServices ours = OurSockets();
    for (const Listener& listener : Listeners()) {
        if (ports.count(listener.port) > 0 && ours.count(listener.inode) == 0) {
            held.insert(listener.port);
        }
    }
    return held;
}

}  // namespace host::system
