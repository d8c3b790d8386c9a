// The certificate of the mail services.
#pragma once

#include <optional>
#include <string>

#include "host/libmailvane/generation/generation.h"

namespace host::render {

/// Paths of a certificate chain and its key (PEM).
struct CertificateFiles {
    std::string certificate;
    std::string privateKey;
};

/// The administrator's certificate, etc/tls/cert.pem and key.pem; nothing when one of them is not
/// there.
std::optional<CertificateFiles> InstalledCertificate();

/// The self-signed certificate of the generation in force.
CertificateFiles OwnCertificate();

/// Chooses the certificate for `hostname`: the administrator's if
/// there is one, else a self-signed one, which is kept in the generations until the host name
/// changes.
CertificateFiles ChooseCertificate(generation::NextGeneration& next, const std::string& hostname);

}  // namespace host::render
