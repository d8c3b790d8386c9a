// Manifests: lines of a word, a blank and a text. `files N` says how many files there are, `by`,
// `for` and `at` who had them made, by which request and when; each file has a line with its
// checksum. Manifests of earlier versions have only some of these, or none.
#include "host/libmailvane/system/manifest.h"

#include <sys/stat.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/hash.h"
#include "host/libhaldcore/text.h"

namespace host::system {

namespace {

constexpr std::string_view kCount = "files";
constexpr std::string_view kCaller = "by";
constexpr std::string_view kAction = "for";
constexpr std::string_view kDate = "at";
constexpr std::size_t kChecksumLength = 16;

std::string Text(std::uint64_t checksum)
{
    char text[17];
    std::snprintf(text, sizeof(text), "%016" PRIx64, checksum);
    return text;
}

/// Calls `take` with the word and the text of each line. False when there is no manifest.
bool EachLine(const std::string& folder,
              const std::function<void(std::string_view word, std::string_view text)>& take)
{
    std::string bytes;
    if (!ReadFile(folder + "/" + kManifestName, bytes)) return false;

    for (std::string_view rest = bytes; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::size_t blank = std::min(line.find(' '), line.size());
        take(line.substr(0, blank), line.substr(std::min(blank + 1, line.size())));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return true;
}

std::int64_t NumberIn(std::string_view text)
{
    return std::strtoll(std::string(text).c_str(), nullptr, 10);
}

/// A text that stays within its line.
std::string InOneLine(std::string text)
{
    std::replace_if(text.begin(), text.end(), IsControl, '?');
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
    Manifest files;
    std::optional<std::int64_t> count;
    (void)EachLine(folder, [&](std::string_view word, std::string_view text) {
        if (word == kCount) count = NumberIn(text);
        if (word.size() == kChecksumLength) files[std::string(text)] = word;
    });
    const bool whole = !count || *count == static_cast<std::int64_t>(files.size());
    return whole ? files : Manifest();
}

Origin ReadOrigin(const std::string& folder)
{
    Origin origin;
    (void)EachLine(folder, [&origin](std::string_view word, std::string_view text) {
        if (word == kCaller) origin.caller = text;
        if (word == kAction) origin.action = text;
        if (word == kDate) origin.date = NumberIn(text);
    });
    struct stat info {};
    if (origin.date == 0 && stat((folder + "/" + kManifestName).c_str(), &info) == 0) {
        origin.date = info.st_mtim.tv_sec;
    }
    return origin;
}

bool WriteManifest(const std::string& folder, const Manifest& files, const Origin& origin)
{
    std::string text;
    const auto add = [&text](std::string_view word, const std::string& rest) {
        text.append(word).append(" ").append(rest).append("\n");
    };
    add(kCount, std::to_string(files.size()));
    if (!origin.caller.empty()) add(kCaller, InOneLine(origin.caller));
    if (!origin.action.empty()) add(kAction, InOneLine(origin.action));
    add(kDate, std::to_string(origin.date));
    for (const auto& [name, checksum] : files) add(checksum, name);
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
