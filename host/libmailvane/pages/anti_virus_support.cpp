// Whether the anti-virus engine and its updater are installed.
#include "platform/mailvane/anti_virus_support.h"

#include <unistd.h>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"

bool IsSupportAntiVirus()
{
    return access(host::Path(host::programs::kClamd).c_str(), X_OK) == 0 &&
           access(host::Path(host::programs::kFreshclam).c_str(), X_OK) == 0;
}
