// Work on files of a user who is not to be trusted, with no more rights than that user has.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace host::system {

/// While it lives, this process has the effective user and group of whom a folder belongs to, and
/// no other groups: whatever lies there makes it do nothing that its owner could not do himself. A
/// process that is not root's, and a folder of root's or none, change nothing. The rights are those
/// of the process as a whole, so it must have one thread only.
class OwnerRights {
public:
    /// Throws std::system_error when the rights cannot be had.
    explicit OwnerRights(const std::string& folder);
    /// Ends the process when its own rights cannot be had back.
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
