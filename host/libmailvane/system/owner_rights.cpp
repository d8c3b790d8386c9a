// Work on files of a user who is not to be trusted, with no more rights than that user has.
#include "host/libmailvane/system/owner_rights.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace host::system {

namespace {

[[noreturn]] void Throw(int number, const std::string& folder)
{
    throw std::system_error(number, std::generic_category(),
                            "cannot have the rights of whom " + folder + " belongs to");
}

std::vector<gid_t> FurtherGroups()
{
    const int count = getgroups(0, nullptr);
    std::vector<gid_t> groups(static_cast<std::size_t>(count > 0 ? count : 0));
    if (count > 0) groups.resize(static_cast<std::size_t>(getgroups(count, groups.data())));
    return groups;
}

}  // namespace

OwnerRights::OwnerRights(const std::string& folder) : group_(getegid())
{
    struct stat info {};
    if (stat(folder.c_str(), &info) < 0) {
        if (errno == ENOENT) return;
        Throw(errno, folder);
    }
    if (geteuid() != 0 || info.st_uid == 0) return;

    groups_ = FurtherGroups();
    // The user last: after that, nothing else could be changed.
    if (setgroups(0, nullptr) < 0 || setegid(info.st_gid) < 0 || seteuid(info.st_uid) < 0) {
        const int number = errno;
        if (!Restore()) std::abort();
        Throw(number, folder);
    }
    changed_ = true;
}

OwnerRights::~OwnerRights()
{
    if (changed_ && !Restore()) std::abort();
}

bool OwnerRights::Restore() const
{
    return seteuid(0) == 0 && setegid(group_) == 0 &&
           setgroups(groups_.size(), groups_.data()) == 0;
}

}  // namespace host::system
