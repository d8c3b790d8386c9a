// The home of a user that is removed: gives it to root, or deletes it.
#include "upkeep/users/home.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/paths.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

std::string WithoutSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

/// Whether `path` is `folder` or below it.
bool IsWithin(const std::string& path, const std::string& folder)
{
    return (WithoutSlashes(path) + "/").rfind(folder + "/", 0) == 0;
}

}  // namespace

Result<bool> IsOwnHome(const host::User& user)
{
    const std::string path = WithoutSlashes(user.home);
    const std::string full = host::Path(path);
    struct stat info {};
    struct stat above {};
    const bool isBelow = std::count(path.begin(), path.end(), '/') > 1;
    if (!isBelow || lstat(full.c_str(), &info) < 0 ||
        lstat(std::filesystem::path(full).parent_path().c_str(), &above) < 0 ||
        !S_ISDIR(info.st_mode) || info.st_uid != user.uid || above.st_uid != 0) {
        return false;
    }
    bool isShared = false;
    const Result<void> read = host::LocalAccounts()->EachUser([&](const host::User& other) {
        isShared = isShared || (other.name != user.name && IsWithin(other.home, path));
    });
    if (!read) return read.reason();
    return !isShared;
}

Result<void> GiveHome(const host::User& user, uid_t uid, gid_t gid)
{
    const std::string path = host::Path(WithoutSlashes(user.home));
    const host::Descriptor home(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // In this order: it is open to nobody else in between.
    if (home && fchmod(home.get(), S_IRWXU) == 0 && fchown(home.get(), uid, gid) == 0) return {};
    return host::SystemReason(Subject::List("home"), "the home of " + user.name + " is not given");
}

Result<void> DeleteHome(const host::User& user)
{
    std::error_code error;
    (void)std::filesystem::remove_all(host::Path(WithoutSlashes(user.home)), error);
    if (!error) return {};
    return Reason{ReasonCode::kSystem, Subject::List("home"),
                  "the home of " + user.name +
                      ", which is root's now, cannot be deleted: " + error.message()};
}

}  // namespace upkeep
