// The description of an import that waits for its upload. May remove /tmp/mailvane.import.
#include "host/libkos/import_staging.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace kos {

namespace {

constexpr long long kValid = 900;  // seconds

bool IsCurrent(const struct stat& status)
{
    // A time in the future, left by a clock that was set back, is no better than an old one.
    const auto age =
        static_cast<long long>(std::time(nullptr)) - static_cast<long long>(status.st_mtime);
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() && std::llabs(age) <= kValid;
}

}  // namespace

void RemoveStaleStaging()
{
    const std::string path = host::Path("/tmp/mailvane.import");
    struct stat status;
    if (lstat(path.c_str(), &status) < 0 || IsCurrent(status)) return;

    host::Log(LOG_WARNING, "staged import removed: it is old or not ours");
    (void)unlink(path.c_str());
}

}  // namespace kos
