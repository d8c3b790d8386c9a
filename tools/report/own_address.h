// Which addresses are this machine's.
#pragma once

#include <sys/socket.h>

namespace report {

/// Whether a connection to an address would end at this machine: loopback, the wildcard, an address
/// of an interface, and whatever else is routed to itself.
bool IsOwnAddress(const sockaddr* address, socklen_t size);

}  // namespace report
