// Calling a service at its port.
#pragma once

#include <vector>

#include "host/libmailvane/daemons/sockets.h"

namespace service {

/// Whether a port of this machine takes a connection.
bool TakesCalls(int port);

/// Whether a mail service answers at each of these and welcomes its clients, or tells them that too
/// many are there. All are called before the first is listened to, since each may have to start a
/// process.
bool Greet(const std::vector<host::daemons::Listener>& listeners);

}  // namespace service
