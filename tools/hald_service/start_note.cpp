// What a daemon was last started with, or has reloaded.
#include "tools/hald_service/start_note.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/hash.h"
#include "host/libhaldcore/paths.h"

namespace service {

namespace {

namespace fs = std::filesystem;

using host::daemons::HasWord;
using host::daemons::NextWord;

/// Adds all existing files below a path, following links.
void AddFiles(const fs::path& path, std::vector<std::string>& files)
{
    std::error_code error;
    if (fs::is_regular_file(path, error)) files.push_back(path.string());
    if (!fs::is_directory(path, error)) return;
    for (const auto& entry : fs::directory_iterator(path, error)) AddFiles(entry.path(), files);
}

/// The lines of a file that set one of the parameters: "NAME VALUE" or "NAME = VALUE".
std::string LinesOf(std::string_view parameters, const std::string& text)
{
    std::string found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find_first_of(" \t="));
        if (!name.empty() && HasWord(parameters, name)) found += line + "\n";
    }
    return found;
}

/// The text of a file; of a long one, as tables are, its state.
std::string TextOf(const std::string& file)
{
    constexpr std::uintmax_t kLong = 65536;
    std::error_code error;
    std::string text;
    if (fs::file_size(file, error) > kLong || error) return StateOf(file);
    return host::ReadFile(file, text) ? text : "";
}

std::string Sum(const std::string& text)
{
    std::ostringstream digits;
    digits << std::hex << host::Fnv64(text);
    return digits.str();
}

}  // namespace

StartNote::StartNote(const host::daemons::Daemon& daemon, const Stored& stored,
                     std::vector<std::string> more, const std::string& also)
    : path_(host::Path("/run/mailvane/" + std::string(daemon.name) + ".started"))
{
    std::string start(daemon.command);
    std::string_view names = daemon.settings;
    while (!names.empty()) start += "\n" + stored.Text(NextWord(names));

    std::string_view parts = daemon.files;
    while (!parts.empty()) {
        AddFiles(host::PackagePath("etc/generated/current/" + std::string(NextWord(parts))), more);
    }
    std::sort(more.begin(), more.end());
    const host::daemons::Reload* const reload = host::daemons::ReloadOf(daemon);
    std::string all = also;
    for (const std::string& file : more) {
        const std::string text = TextOf(file);
        start += "\n" + LinesOf(reload == nullptr ? "" : reload->fixed, text);
        all += "\n" + file + " " + Sum(text);
    }
    start_ = Sum(start);
    all_ = Sum(start + all);
}

bool StartNote::Stands(const std::string& process) const
{
    std::string noted;
    return host::ReadFile(path_, noted) && noted == TextWith(process);
}

bool StartNote::NeedsAStart(const std::string& process) const
{
    std::string noted;
    if (!host::ReadFile(path_, noted)) return false;
    std::istringstream lines(noted);
    std::string start;
    std::string all;
    std::string by;
    const bool isWhole =
        std::getline(lines, start) && std::getline(lines, all) && std::getline(lines, by);
    return isWhole && by == process && start != start_;
}

bool StartNote::Write(const std::string& process) const
{
    return host::ReplaceFile(path_, TextWith(process), 0644);
}

void StartNote::Forget() const
{
    (void)unlink(path_.c_str());
}

std::string StartNote::TextWith(const std::string& process) const
{
    return start_ + "\n" + all_ + "\n" + process + "\n";
}

std::string StateOf(const std::string& path)
{
    struct stat info {};
    if (lstat(path.c_str(), &info) < 0) return "";
    std::ostringstream state;
    state << info.st_ino << " " << info.st_size << " " << info.st_mtim.tv_sec << "."
          << info.st_mtim.tv_nsec << " " << info.st_ctim.tv_sec << "." << info.st_ctim.tv_nsec;
    return state.str();
}

}  // namespace service
