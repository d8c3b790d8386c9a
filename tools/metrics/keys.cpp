// Metrics of what grows old: the certificate in force, the key that signs mail, virus signatures.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>

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
constexpr char kKept[] = "/run/mailvane/certificate.validity";
constexpr char kSignatureFolder[] = "/var/lib/clamav";

/// When a file was last changed; 0 when there is none.
std::int64_t ChangedAt(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::int64_t{status.st_mtime} : 0;
}

struct Validity {
    std::int64_t begins = 0;
    std::int64_t ends = 0;
};

/// The validity of a certificate, by the library that reads them.
std::optional<Validity> ReadValidity(const std::string& path)
{
    const auto reader = upkeep::LoadPemReader();
    std::string text;
    if (!reader || !host::ReadFile(path, text)) return std::nullopt;
    const auto facts = (*reader)->Read(text, "");
    if (!facts) return std::nullopt;
    return Validity{facts->begins, facts->ends};
}

/// The same. Loading the library takes longer than everything else here, so what it said is kept
/// for as long as the file is the same.
std::optional<Validity> ValidityOf(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) < 0) return std::nullopt;
    std::ostringstream state;
    state << path << ' ' << status.st_ino << ' ' << status.st_size << ' ' << status.st_mtim.tv_sec
          << '.' << status.st_mtim.tv_nsec << '\n';

    std::string kept;
    if (host::ReadFile(host::Path(kKept), kept) && kept.rfind(state.str(), 0) == 0) {
        std::istringstream rest(kept.substr(state.str().size()));
        Validity validity;
        if (rest >> validity.begins >> validity.ends) return validity;
    }
    const auto validity = ReadValidity(path);
    if (!validity) return std::nullopt;
    state << validity->begins << ' ' << validity->ends << '\n';
    (void)host::ReplaceFile(host::Path(kKept), state.str(), 0600);
    return validity;
}

}  // namespace

bool AddCertificate(std::int64_t /*now*/, Exposition& exposition)
{
    const auto installed = host::render::InstalledCertificate();
    const auto validity =
        ValidityOf((installed ? *installed : host::render::OwnCertificate()).certificate);
    if (!validity) return false;
    exposition.Add(kBegins, static_cast<double>(validity->begins));
    exposition.Add(kEnds, static_cast<double>(validity->ends));
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
