// The table of the packet filter that blocks sources.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "tools/login_guard/source.h"

namespace guard {

/// Rejects connections from blocked sources to one port. A block ends after ten minutes; the
/// destructor removes all of them.
class PacketFilter {
public:
    explicit PacketFilter(int port);
    PacketFilter(const PacketFilter&) = delete;
    PacketFilter& operator=(const PacketFilter&) = delete;
    ~PacketFilter();

    /// Blocks a source, and logs it with the reason.
    void Block(const Source& source, const char* reason);

private:
    host::Result<void> Load() const;

    int port_;
};

}  // namespace guard
