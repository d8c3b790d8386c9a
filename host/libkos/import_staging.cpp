// Staged imports. May remove /tmp/mailvane.import.
#include "host/libkos/import_staging.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace kos {

namespace {

constexpr long long kValid = 900;  // seconds
constexpr const char* kNames[] = {"/tmp/mailvane.import", "/tmp/mailvane.importxxxxxx"};

bool IsCurrent(const struct stat& status)
{
    // A time in the future, after the clock was set back, counts as well: it may be just as old.
    const auto age =
        static_cast<long long>(std::time(nullptr)) - static_cast<long long>(status.st_mtime);
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1 &&
           std::llabs(age) <= kValid;
}

}  // namespace

void RemoveStaleStaging()
{
    const std::string path = host::Path(kNames[0]);
    struct stat status;
    if (lstat(path.c_str(), &status) < 0 || IsCurrent(status)) return;

    host::Log(LOG_WARNING, "staged import removed: it is old or not ours");
    (void)unlink(path.c_str());
}

void ClearStagingNames()
{
    for (const char* name : kNames) {
        const std::string path = host::Path(name);
        struct stat status;
        if (lstat(path.c_str(), &status) < 0 || !S_ISDIR(status.st_mode)) continue;

        std::string aside = host::Path("/tmp/mailvane-stranger.XXXXXX");
        const bool moved =
            mkdtemp(aside.data()) != nullptr && rename(path.c_str(), aside.c_str()) == 0;
        host::Log(LOG_WARNING, "%s was a directory; it %s %s", path.c_str(),
                  moved ? "is now" : "cannot become", aside.c_str());
    }
}

}  // namespace kos
