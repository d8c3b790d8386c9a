// A client of a line protocol on this machine.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/descriptor.h"

namespace host::system {

/// A connection to a server on this machine. No step waits longer than three seconds.
class LineClient {
public:
    /// Connects from an address of this machine, to 127.0.0.1 or, from an IPv6 address, to ::1.
    LineClient(int port, const char* from);

    /// Connects to a unix socket.
    explicit LineClient(const char* path);

    /// Whether it is connected.
    bool connected() const { return static_cast<bool>(socket_); }

    /// The next line without its end; nothing when none comes.
    std::optional<std::string> ReadLine();

    /// Sends a line and returns the last line of the reply to it, as SMTP replies are: every line
    /// but the last has a hyphen after its number. Nothing when none comes.
    std::optional<std::string> Ask(const std::string& line);

    /// Sends a line; what follows tells whether it arrived.
    void Send(const std::string& line) { SendBytes(line + "\r\n"); }

    /// The same without lines: `ReadBytes` returns fewer than `size` when no more come.
    void SendBytes(const std::string& bytes);
    std::string ReadBytes(std::size_t size);

private:
    bool SetPatience();

    Descriptor socket_;
};

}  // namespace host::system
