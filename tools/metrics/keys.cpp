// Metrics of what grows old: the certificate in force, the key that signs mail, virus signatures.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/signatures.h"
#include "host/libmailvane/render/certificate.h"
#include "tools/metrics/sources.h"
#include "upkeep/certificates/pem_reader.h"

namespace metrics {

namespace {

constexpr Family kBegins = {"mailvane_certificate_begins_timestamp_seconds", "seconds",
                            "From when on the certificate of the services is valid."};
constexpr Family kEnds = {"mailvane_certificate_ends_timestamp_seconds", "seconds",
                          "Until when it is valid."};
constexpr Family kSigningKey = {"mailvane_signing_key_made_timestamp_seconds", "seconds",
                                "When the key was made that signs mail."};
constexpr Family kSignatures = {"mailvane_virus_signatures_timestamp_seconds", "seconds",
                                "When the newest virus signatures came."};

constexpr char kPrivateKey[] = "etc/dkim.key/dkim.private";
constexpr char kSignatureFolder[] = "/var/lib/clamav";

/// When a file was last changed; 0 when there is none.
std::int64_t ChangedAt(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::int64_t{status.st_mtime} : 0;
}

}  // namespace

bool AddCertificate(std::int64_t /*now*/, Exposition& exposition)
{
    const auto installed = host::render::InstalledCertificate();
    const auto reader = upkeep::LoadPemReader();
    std::string text;
    if (!reader ||
        !host::ReadFile((installed ? *installed : host::render::OwnCertificate()).certificate,
                        text)) {
        return false;
    }
    const auto facts = (*reader)->Read(text, "");
    if (!facts) return false;
    exposition.Add(kBegins, static_cast<double>(facts->begins));
    exposition.Add(kEnds, static_cast<double>(facts->ends));
    return true;
}

bool AddSigningKey(std::int64_t /*now*/, Exposition& exposition)
{
    const std::int64_t made = ChangedAt(host::PackagePath(kPrivateKey));
    if (made == 0) return false;
    exposition.Add(kSigningKey, static_cast<double>(made));
    return true;
}

bool AddSignatures(std::int64_t /*now*/, Exposition& exposition)
{
    std::int64_t newest = 0;
    for (const auto& file : std::filesystem::directory_iterator(host::Path(kSignatureFolder))) {
        if (!host::daemons::IsSignatureFile(file.path().filename())) continue;
        newest = std::max(newest, ChangedAt(file.path()));
    }
    if (newest == 0) return false;
    exposition.Add(kSignatures, static_cast<double>(newest));
    return true;
}

}  // namespace metrics
