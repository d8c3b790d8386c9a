// A client of a line protocol.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/descriptor.h"
#include "host/libmailvane/names/socket_address.h"

namespace host::system {

/// A connection to a server. Each step waits three seconds at most.
class LineClient {
public:
    /// Connects from an address of this machine: to 127.0.0.1, or to ::1 from an IPv6 address.
    LineClient(int port, const char* from);

    /// Connects to a unix socket.
    explicit LineClient(const char* path);

    /// Connects to a server of another machine, too.
    explicit LineClient(const names::SocketAddress& server);

    /// Whether it is connected.
    bool connected() const { return static_cast<bool>(socket_); }

    /// The next line without its line end; nothing when none comes in time.
    std::optional<std::string> ReadLine();

    /// Sends a line and returns the last line of the SMTP-style reply: "250 OK" after "250-SIZE"
    /// and the like. Nothing when none comes in time.
    std::optional<std::string> Ask(const std::string& line);

    /// Sends a line. A failure shows only when the reply is read.
    void Send(const std::string& line) { SendBytes(line + "\r\n"); }

    /// Send and receive bytes; `ReadBytes` returns fewer than `size` when no more come in time.
    void SendBytes(const std::string& bytes);
    std::string ReadBytes(std::size_t size);

private:
    bool SetPatience();

    Descriptor socket_;
};

}  // namespace host::system
