// Access to files of an untrusted user with the rights of that user.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace host::system {

/// Switches a process of root to the effective user and group that own a folder, without further
/// groups, for the lifetime of the object: files in the folder cannot make it do anything that the
/// owner could not do. Does nothing for another user's process, and for a folder of root or a
/// missing one. Requires a process with one thread.
class OwnerRights {
public:
    /// Throws std::system_error when the switch fails.
    explicit OwnerRights(const std::string& folder);
    /// Aborts when the switch back fails.
    ~OwnerRights();
    OwnerRights(const OwnerRights&) = delete;
    OwnerRights& operator=(const OwnerRights&) = delete;

private:
    bool Restore() const;

    bool changed_ = false;
    gid_t group_;
    std::vector<gid_t> groups_;
};

}  // namespace host::system
