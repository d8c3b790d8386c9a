// Key pairs for DKIM that were replaced.
#pragma once

#include <string>

namespace host::pages {

/// Makes a replaced pair the one that signs; the present one is kept in its turn. `pair` is the
/// name of its directory in etc/dkim.key. 0; -1, logged, when there is none of that name or the
/// signer does not take it: the pair in force is then the one before.
int RestoreKeyPair(const std::string& pair);

}  // namespace host::pages
