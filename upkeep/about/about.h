// What the installed package says about itself.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `about`: who calls, the package's version, the machine's host name, and whether and since when
/// the machine's mail services are handed over.
Answer About(const Request& request);

}  // namespace upkeep
