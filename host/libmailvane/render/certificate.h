// The certificate that the mail services show.
#pragma once

#include <string>

#include "host/libmailvane/generation/generation.h"

namespace host::render {

/// Paths of a certificate chain and its key.
struct CertificateFiles {
    std::string certificate;
    std::string privateKey;
};

/// The certificate to use for `hostname`: the administrator's (etc/tls/cert.pem and key.pem) where
/// there is one, else one signed by itself that is kept in the generations and made anew when the
/// host name changes.
CertificateFiles ChooseCertificate(generation::NextGeneration& next, const std::string& hostname);

}  // namespace host::render
