// Files and directories: the platform's functions.
#include "platform/hlib/file.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/paths.h"
#include "platform/hlib/string_list.h"

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { (void)closedir(directory); }
};

/// The next name other than "." and ".."; null at the end (errno 0) and on failure.
const char* NextName(DIR* directory)
{
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(directory);
        if (entry == nullptr) return nullptr;
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            return entry->d_name;
        }
    }
}

}  // namespace

int HLIBCFileExist(const char* path)
{
    struct stat status;
    if (path == nullptr) return 0;
    return stat(host::Path(path).c_str(), &status) == 0 ? 1 : 0;
}

int HLIBCFileEnumDir(const char* directory, int /*flags*/, HLIBCSzList** list, int max)
{
    if (directory == nullptr || list == nullptr || *list == nullptr) return host::Fail(EINVAL);
    const std::unique_ptr<DIR, CloseDirectory> open(opendir(host::Path(directory).c_str()));
    if (!open) return host::FailWithErrno();

    int count = 0;
    while (count < max) {
        const char* name = NextName(open.get());
        if (name == nullptr) return errno == 0 ? count : host::FailWithErrno();
        if (HLIBCSzListPush(list, name) < 0) return -1;
        ++count;
    }
    return count;
}

std::int64_t HLIBGetFsFreeSize(const char* path)
{
    struct statvfs system;
    if (path == nullptr) return host::Fail(EINVAL);
    if (statvfs(host::Path(path).c_str(), &system) < 0) return host::FailWithErrno();

    const std::uint64_t blocks = system.f_bavail;
    const std::uint64_t size = std::max<std::uint64_t>(system.f_frsize, 1);
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(blocks > most / size ? most : blocks * size);
}
