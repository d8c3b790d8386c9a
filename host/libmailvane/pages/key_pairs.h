// Going back to a replaced DKIM key pair.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// Makes a replaced pair the one that signs; the present one is kept. `pair` is the name of its
/// directory in etc/dkim.key. When there is no such pair or the DKIM filter does not accept it,
/// nothing changes.
Result<void> RestoreKeyPair(const std::string& pair);

}  // namespace host::pages
