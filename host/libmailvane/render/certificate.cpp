// The certificate of the mail services: in etc/tls/, or in tls/ of the generation in force.
#include "host/libmailvane/render/certificate.h"

#include <unistd.h>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::render {

namespace {

const char kCertificate[] = "tls/cert.pem";
const char kPrivateKey[] = "tls/key.pem";
const char kHostname[] = "tls/hostname";
const char kDays[] = "3650";

struct SelfSigned {
    std::string certificate;
    std::string key;
};

/// Makes a self-signed certificate and its key with openssl.
Result<SelfSigned> SelfSign(const std::string& directory, const std::string& hostname)
{
    const std::string keyPath = directory + "/new-key.pem";
    const std::string certificatePath = directory + "/new-cert.pem";
    ProgramOptions quiet;
    quiet.capture = true;
    const ProgramResult made = RunProgram(
        {programs::kOpenssl, "req", "-x509", "-newkey", "ec", "-pkeyopt",
         "ec_paramgen_curve:prime256v1", "-nodes", "-days", kDays, "-subj", "/CN=" + hostname,
         "-addext", "subjectAltName=DNS:" + hostname, "-keyout", keyPath, "-out", certificatePath},
        quiet);
    Result<SelfSigned> pair(SelfSigned{});
    if (!made.Succeeded()) {
        pair = made.done.reason();
    } else if (!ReadFile(keyPath, pair->key) || !ReadFile(certificatePath, pair->certificate)) {
        pair = SystemReason(directory, "cannot read it back");
    }
    (void)unlink(keyPath.c_str());
    (void)unlink(certificatePath.c_str());
    return std::move(pair).Prefixed("cannot make a certificate for " + hostname + ": ");
}

/// Whether the generation in force has a certificate for this host name.
bool HasCertificateFor(const std::string& hostname)
{
    std::string owner;
    return ReadFile(
               generation::GenerationDirectory(generation::CurrentGeneration()) + "/" + kHostname,
               owner) &&
           owner == hostname;
}

}  // namespace

std::optional<CertificateFiles> InstalledCertificate()
{
    CertificateFiles own{PackagePath("etc/tls/cert.pem"), PackagePath("etc/tls/key.pem")};
    const bool isThere = system::NameExists(own.certificate) && system::NameExists(own.privateKey);
    return isThere ? std::make_optional(std::move(own)) : std::nullopt;
}

CertificateFiles OwnCertificate()
{
    // Paths through the link `current`, so that they are the same in every generation.
    const std::string current = generation::GeneratedDirectory() + "/current/";
    return {current + kCertificate, current + kPrivateKey};
}

CertificateFiles ChooseCertificate(generation::NextGeneration& next, const std::string& hostname)
{
    if (auto installed = InstalledCertificate()) return *std::move(installed);

    if (!HasCertificateFor(hostname)) {
        const Result<SelfSigned> made = SelfSign(next.directory(), hostname);
        if (made) {
            next.Put(kCertificate, made->certificate, 0644);
            next.Put(kPrivateKey, made->key, 0600);
            next.Put(kHostname, hostname, 0644);
        } else {
            next.Fail(made.reason());
        }
    }
    return OwnCertificate();
}

}  // namespace host::render
