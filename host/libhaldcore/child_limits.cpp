// Resource limits of the programs that are started.
#include "host/libhaldcore/child_limits.h"

void host::RestoreLimits() {}
