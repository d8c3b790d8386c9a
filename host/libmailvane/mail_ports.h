// The ports that the stored settings give to the mail services.
#pragma once

#include <vector>

#include "host/libmailvane/stored_settings.h"

namespace host {

/// The ports of all services that are on; one given to two services stands there twice.
std::vector<int> EnabledPorts(const StoredSettings& settings);

}  // namespace host
