// What a daemon was last started with, or has reloaded: /run/mailvane/NAME.started. Tells whether
// it runs with what is in force.
#pragma once

#include <string>
#include <vector>

#include "tools/hald_service/stored.h"

namespace service {

class StartNote {
public:
    /// What a start would be with now: the daemon's command, its settings, the files of its row and
    /// `more` files. `also` is text that the daemon depends on besides.
    StartNote(const host::daemons::Daemon& daemon, const Stored& stored,
              std::vector<std::string> more, const std::string& also = "");

    /// Whether the daemon was started or reloaded with the same. A `process` tells a daemon that
    /// may be started by others from its successors.
    bool Stands(const std::string& process = "") const;

    /// Whether something differs that the daemon reads only when it starts. Not when nobody knows
    /// with what it was started.
    bool NeedsAStart(const std::string& process) const;

    /// Writes the note, and removes it. It must not stand while the daemon may read something else.
    bool Write(const std::string& process = "") const;
    void Forget() const;

private:
    std::string TextWith(const std::string& process) const;

    std::string path_;
    std::string start_;  ///< checksum of what is read only at a start
    std::string all_;    ///< checksum of everything
};

/// What tells a file from others and from itself in another state: inode, size and time. Empty when
/// there is none.
std::string StateOf(const std::string& path);

}  // namespace service
