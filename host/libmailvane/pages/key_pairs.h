// Key pairs for DKIM that were replaced.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// Makes a replaced pair the one that signs; the present one is kept in its turn. `pair` is the
/// name of its directory in etc/dkim.key. When there is none of that name or the signer does not
/// take it, the pair in force is the one before.
Result<void> RestoreKeyPair(const std::string& pair);

}  // namespace host::pages
