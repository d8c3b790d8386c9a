// The stored DKIM key pairs, and going back to a replaced one.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host::pages {

struct StoredPair {
    std::string date;       ///< its directory's name without "pair-"
    std::string publicKey;  ///< in one line, as in the DNS
    bool signs = false;
};

/// The stored pairs by their dates.
std::vector<StoredPair> StoredPairs();

/// The public key of the pair that signs, in one line as in the DNS; empty when there is none.
std::string SigningPublicKey();

/// Makes a replaced pair the one that signs; the present one is kept. `pair` is the name of its
/// directory in etc/dkim.key. When there is no such pair or the DKIM filter does not accept it,
/// nothing changes.
Result<void> RestoreKeyPair(const std::string& pair);

}  // namespace host::pages
