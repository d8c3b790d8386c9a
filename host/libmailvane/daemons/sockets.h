// Which sockets listen, and who has them open. Reads /proc/net and the descriptors of processes.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace host::daemons {

using Inode = unsigned long long;

/// One listening TCP socket.
struct Listener {
    int port;
    Inode inode;
    bool isIpv6;
    std::string address;  ///< to call it at: "127.0.0.1" or "::1" where it listens at all
};

/// Every listening TCP socket, those of IPv4 first. Without IPv6 there is no second table.
std::vector<Listener> TcpListeners();

/// The address of the other side of every TCP connection to a port of this machine.
std::vector<std::string> TcpClients(int port);

/// Whether somebody listens at a unix socket (a path of the machine).
bool ListensAt(const std::string& socket);

/// The numbers of the sockets, and with `pipes` of the pipes, that a process (its folder in /proc)
/// has open.
std::set<Inode> OpenSockets(const std::string& process, bool pipes = false);

}  // namespace host::daemons
