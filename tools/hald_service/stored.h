// The stored settings, as far as they say which daemons run and at which ports.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/key_value_file.h"
#include "host/libmailvane/daemons/daemons.h"

namespace service {

class Stored {
public:
    /// Reads etc/mailvane.conf; there is nothing in it when it cannot be read.
    static Stored Read();

    bool Bool(std::string_view name) const { return Text(name) == "yes"; }

    /// The value as it is stored; empty when there is none.
    std::string Text(std::string_view name) const;

    /// Whether all that decides on the daemon is there; told when not. To take a missing switch for
    /// "off" would end a daemon for a damaged file.
    bool HasAllOf(const host::daemons::Daemon& daemon) const;

private:
    explicit Stored(host::KeyValueFile file) : file_(std::move(file)) {}

    host::KeyValueFile file_;
};

/// The ports that one of the two mail servers is to have, by how it greets there.
struct Ports {
    std::vector<int> plain;
    std::vector<int> tls;  ///< after a handshake
};
Ports PortsOf(const host::daemons::Daemon& daemon, const Stored& stored);

/// Tells whoever called what is wrong. The control scripts' callers log it.
void Tell(std::string_view who, const std::string& what);

}  // namespace service
