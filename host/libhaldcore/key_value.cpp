// Key-value files: the platform's functions.
#include "platform/hlib/key_value.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"

namespace {

constexpr mode_t kNewFileMode = 0600;

/// The path under the machine's root; nothing when it is empty or has "..".
std::optional<std::string> Resolve(const char* file)
{
    if (file == nullptr || *file == '\0' || host::ClimbsUp(file)) return std::nullopt;
    return host::Path(file);
}

mode_t ModeOf(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) < 0) return kNewFileMode;
    return status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
}

/// Reads the file, sets or removes the key and replaces the file.
int SetKey(const std::string& path, const char* key, const char* value)
{
    std::optional<host::KeyValueFile> file = host::KeyValueFile::Read(path);
    // In a world-writable directory, what another user has put there is replaced without being
    // read.
    if (!file && errno != ENOENT && errno != EPERM) return host::FailWithErrno();

    const mode_t mode = file ? ModeOf(path) : kNewFileMode;
    if (!file) file.emplace();
    if (!file->Set(key, value)) return host::Fail(EINVAL);
    return file->Write(path, mode) ? 0 : host::FailWithErrno();
}

}  // namespace

int HLIBCFileGetKeyValue(const char* file, const char* key, char* buffer, int size, int /*flags*/)
{
    if (buffer == nullptr || size <= 0) return host::Fail(EINVAL);
    const auto space = static_cast<std::size_t>(size);
    memset(buffer, 0, space);

    const std::optional<std::string> path = Resolve(file);
    if (!path || key == nullptr) return host::Fail(EINVAL);
    const std::optional<host::KeyValueFile> values = host::KeyValueFile::Read(*path);
    if (!values) return host::FailWithErrno();

    const std::string value = values->Get(key).value_or("");
    (void)value.copy(buffer, std::min(value.size(), space - 1));
    return 0;
}

int HLIBCFileSetKeyValue(const char* file, const char* key, const char* value, int /*flags*/)
{
    const std::optional<std::string> path = Resolve(file);
    if (!path || key == nullptr || value == nullptr) return host::Fail(EINVAL);
    if (path->rfind(host::PackagePath(""), 0) != 0) return SetKey(*path, key, value);

    const host::ScopedLock lock;
    return lock.held() ? SetKey(*path, key, value) : host::Fail(EBUSY);
}

int HLIBCFileCheckKeyValue(const char* file, const char* key, const char* value, int /*flags*/)
{
    const std::optional<std::string> path = Resolve(file);
    if (!path || key == nullptr || value == nullptr) return 0;

    const std::optional<host::KeyValueFile> values = host::KeyValueFile::Read(*path);
    return values && values->Get(key) == std::string(value) ? 1 : 0;
}
