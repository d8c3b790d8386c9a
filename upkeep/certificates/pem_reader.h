// What certificates and keys say. libcrypto reads them; it is linked to a module of its own, which
// only the calls about certificates load: linked to the program it would add nearly a third to
// every call's start, and a process of openssl takes several times as long as such a call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace upkeep {

struct CertificateFacts {
    std::string subject;
    std::string issuer;
    std::vector<std::string> names;  ///< of hosts
    std::int64_t begins = 0;         ///< seconds since 1970
    std::int64_t ends = 0;
    std::string fingerprint;  ///< SHA-256, pairs of hex digits with colons
    bool selfSigned = false;
    bool isForHost = false;  ///< for the host that was asked for
};

class PemReader {
public:
    virtual ~PemReader() = default;

    /// Reads the first certificate of a text, and looks whether it is for `host`.
    virtual host::Result<CertificateFacts> Read(const std::string& certificates,
                                                const std::string& host) const = 0;

    /// Refuses a pair that no service could use: certificates (the server's, then those that sign
    /// the one before) or key cannot be read, the key is protected by a password, too weak, or not
    /// that of the certificate, the chain is out of order, or the certificate is not valid now. The
    /// reason is about the member `certificate` or `key`.
    virtual host::Result<void> CheckPair(const std::string& certificates,
                                         const std::string& key) const = 0;

    /// The SHA-256 of a text in hex digits.
    virtual std::string Digest(const std::string& text) const = 0;
};

/// The reader of the module, which stays loaded. Fails when it cannot be loaded.
host::Result<const PemReader*> LoadPemReader();

}  // namespace upkeep

/// What the module exports.
extern "C" const upkeep::PemReader* MailvanePemReader();
