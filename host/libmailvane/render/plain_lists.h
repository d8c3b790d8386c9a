// What blind copies and sender quotas fill.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The maps of the blind copies; a missing store is an empty one.
Result<std::vector<generation::ListFile>> BccFiles();

/// What the rate policy reads: how much each login may send. As above.
Result<std::vector<generation::ListFile>> QuotaFiles();

}  // namespace host::render
