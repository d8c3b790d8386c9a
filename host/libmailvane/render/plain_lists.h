// The files made from blind carbon copies and sender quotas.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The maps of blind carbon copies; empty ones when there is no store.
Result<std::vector<generation::ListFile>> BccFiles();

/// The file of the rate policy: how many messages each login may send. Throws as `BccFiles`.
Result<std::vector<generation::ListFile>> QuotaFiles();

}  // namespace host::render
