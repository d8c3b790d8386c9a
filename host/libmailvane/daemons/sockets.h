// Listening sockets, and the processes that have them open. Reads /proc/net and /proc/PID/fd.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host::daemons {

using Inode = unsigned long long;

/// One listening TCP socket.
struct Listener {
    int port;
    Inode inode;
    bool isIpv6;
    std::string address;  ///< to connect to: "127.0.0.1" or "::1" when it listens on all
};

/// All listening TCP sockets, IPv4 first; only those when the kernel has no IPv6.
Result<std::vector<Listener>> TcpListeners();

/// The client addresses of all TCP connections to a local port.
Result<std::vector<std::string>> TcpClients(int port);

/// Whether a process listens on a unix socket, given by its path.
bool ListensAt(const std::string& socket);

/// Whether somebody is connected to it.
bool IsCalledAt(const std::string& socket);

/// The inodes of the sockets, and with `pipes` of the pipes, that a process has open. `process` is
/// its directory in /proc.
std::set<Inode> OpenSockets(const std::string& process, bool pipes = false);

}  // namespace host::daemons
