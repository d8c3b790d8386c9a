// Whether this machine can scan for viruses: the engine and its update tool.
#include "platform/mailvane/anti_virus_support.h"

#include <unistd.h>

#include "host/libhaldcore/paths.h"

bool IsSupportAntiVirus()
{
    return access(host::Path("/usr/sbin/clamd").c_str(), X_OK) == 0 &&
           access(host::Path("/usr/bin/freshclam").c_str(), X_OK) == 0;
}
