// The guard's own table of the packet filter.
#pragma once

#include <string>

#include "tools/login_guard/source.h"

namespace guard {

/// Resets connections to one port of whom it is told to keep away. It forgets each after ten
/// minutes, and all at its end.
class PacketFilter {
public:
    explicit PacketFilter(int port);
    PacketFilter(const PacketFilter&) = delete;
    PacketFilter& operator=(const PacketFilter&) = delete;
    ~PacketFilter();

    /// Keeps a source away; the reason goes to the system log.
    void Block(const Source& source, const char* reason);

private:
    bool Load() const;

    int port_;
};

}  // namespace guard
