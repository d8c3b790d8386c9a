// The folder of the account data that is parked: of combinations that are not in force.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::stores {

/// The folder; it need not be there.
std::string ParkingFolder();

/// Makes `folder` a copy of all that is parked. Requires the request lock.
Result<void> CopyParked(const std::string& folder);

/// Makes what is parked what such a copy has. After a kill it has to be repeated. Requires the
/// request lock.
Result<void> ReplaceParked(const std::string& folder);

}  // namespace host::stores
