// Manifests: the file `manifest` of a folder names its files, with a checksum of each, and may say
// who had them made.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace host::system {

constexpr char kManifestName[] = "manifest";

/// The files of a folder: path in it, and checksum.
using Manifest = std::map<std::string, std::string>;

/// Who had a folder made, by which request, and when.
struct Origin {
    std::string caller;     ///< a login name; empty for the machine itself
    std::string action;     ///< empty when it is not known, as in manifests of earlier versions
    std::int64_t date = 0;  ///< seconds since the epoch
};

/// Checksum of a file's bytes, to notice damage and edits by hand; no protection against forgery.
/// Nothing, with errno set, when it cannot be read.
std::optional<std::string> ChecksumOf(const std::string& path);

/// The manifest of a folder; empty when there is none or it was cut.
Manifest ReadManifest(const std::string& folder);

/// The origin in the manifest of a folder; one that is not told is empty, its date that of the
/// file.
Origin ReadOrigin(const std::string& folder);

/// Writes the manifest of a folder. False, with errno, on failure.
bool WriteManifest(const std::string& folder, const Manifest& files, const Origin& origin);

/// Whether the folder's manifest has another checksum of a file than these bytes.
bool DiffersFromManifest(const std::string& folder, const std::string& name,
                         const std::string& bytes);

}  // namespace host::system
