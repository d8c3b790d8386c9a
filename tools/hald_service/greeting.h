// Connecting to a service at its port.
#pragma once

#include <vector>

#include "host/libmailvane/daemons/sockets.h"

namespace service {

/// Whether a port of this machine accepts a connection.
bool TakesCalls(int port);

/// Whether a mail service greets at each of these addresses, or says that it has too many
/// connections. All are connected to before the first greeting is awaited, since each may need to
/// start a process.
bool Greet(const std::vector<host::daemons::Listener>& listeners);

}  // namespace service
