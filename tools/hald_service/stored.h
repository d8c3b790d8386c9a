// The stored settings that decide which daemons run and on which ports.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/key_value_file.h"
#include "host/libmailvane/daemons/daemons.h"

namespace service {

class Stored {
public:
    /// Reads etc/mailvane.conf; empty when it cannot be read.
    static Stored Read();

    bool Bool(std::string_view name) const { return Text(name) == "yes"; }

    /// The stored value; empty when there is none.
    std::string Text(std::string_view name) const;

    /// Whether all switches of the daemon are in the file; reported when not. A switch that is
    /// missing in a damaged file must not stop a daemon.
    bool HasAllOf(const host::daemons::Daemon& daemon) const;

private:
    explicit Stored(host::KeyValueFile file) : file_(std::move(file)) {}

    host::KeyValueFile file_;
};

/// The ports of one of the two mail servers.
struct Ports {
    std::vector<int> plain;
    std::vector<int> tls;  ///< those where the TLS handshake comes first
};
Ports PortsOf(const host::daemons::Daemon& daemon, const Stored& stored);

/// Writes an error to standard error. The callers of control scripts log it.
void Tell(std::string_view who, const std::string& what);

}  // namespace service
