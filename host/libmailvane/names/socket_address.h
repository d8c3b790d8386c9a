// Addresses of servers with their ports, as texts.
#pragma once

#include <sys/socket.h>

#include <optional>
#include <string>

namespace host::names {

/// An address that a socket can be connected to.
struct SocketAddress {
    sockaddr_storage storage = {};
    socklen_t size = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

/// The address that `192.0.2.1:11211` or `[2001:db8::1]:11211` means; nothing for other texts, such
/// as names, or with port 0.
std::optional<SocketAddress> ParseSocketAddress(const std::string& text);

}  // namespace host::names
