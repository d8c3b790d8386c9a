// Manifests. The first line has the number of the files that follow, one a line; manifests of
// earlier versions have none.
#include "host/libmailvane/system/manifest.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/hash.h"

namespace host::system {

namespace {

const char kCount[] = "files";

std::string Text(std::uint64_t checksum)
{
    char text[17];
    std::snprintf(text, sizeof(text), "%016" PRIx64, checksum);
    return text;
}

}  // namespace

std::optional<std::string> ChecksumOf(const std::string& path)
{
    std::uint64_t checksum = Fnv64("");
    const auto take = [&checksum](std::string_view piece) { checksum = Fnv64(piece, checksum); };
    if (!ReadInPieces(path, take)) return std::nullopt;
    return Text(checksum);
}

Manifest ReadManifest(const std::string& folder)
{
    std::string text;
    Manifest files;
    if (!ReadFile(folder + "/" + kManifestName, text)) return files;

    std::istringstream lines(text);
    for (std::string checksum, name; lines >> checksum >> name;) files[name] = checksum;
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (file->second != kCount) continue;
        const auto count = std::strtoul(file->first.c_str(), nullptr, 10);
        files.erase(file);
        return files.size() == count ? files : Manifest();
    }
    return files;
}

bool WriteManifest(const std::string& folder, const Manifest& files)
{
    std::string text = kCount;
    text.append(" ").append(std::to_string(files.size())).append("\n");
    for (const auto& [name, checksum] : files) {
        text.append(checksum).append(" ").append(name).append("\n");
    }
    return ReplaceFile(folder + "/" + kManifestName, text, 0644);
}

bool DiffersFromManifest(const std::string& folder, const std::string& name,
                         const std::string& bytes)
{
    const Manifest files = ReadManifest(folder);
    const auto file = files.find(name);
    return file != files.end() && file->second != Text(Fnv64(bytes));
}

}  // namespace host::system
