// The administrator's own files that the configuration of a mail server names.
#include "tools/hald_service/own_files.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "tools/hald_service/start_note.h"

namespace service {

namespace {

namespace fs = std::filesystem;

/// What stands around a path in a configuration, as in "type:/path," or "<//path".
const char kAround[] = " \t\r\n,:;=<>{}()\"'";

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The files of a folder whose names end like the pattern "*END".
std::vector<std::string> FilesLike(const fs::path& pattern)
{
    std::vector<std::string> files;
    std::error_code error;
    const std::string name = pattern.filename().string();
    if (name.rfind("*.", 0) != 0) return files;
    const std::string end = name.substr(1);
    for (const auto& entry : fs::directory_iterator(pattern.parent_path(), error)) {
        if (EndsWith(entry.path().filename().string(), end)) files.push_back(entry.path().string());
    }
    return files;
}

/// Adds the files that a configuration names, and those that an included one names.
void AddNamed(const std::string& configuration, std::set<std::string>& named)
{
    const std::string generated = host::PackagePath("etc/generated/");
    const std::string logs = host::Path("/var/log/");
    std::string text;
    if (!host::ReadFile(configuration, text)) return;
    std::size_t start = 0;
    while ((start = text.find_first_not_of(kAround, start)) != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(kAround, start), text.size());
        const std::string word = text.substr(start, end - start);
        start = end;
        std::error_code error;
        const bool isOwn = word.rfind(generated, 0) != 0 && word.rfind(logs, 0) != 0;
        if (word.front() != '/' || !isOwn) continue;
        const bool isPattern = word.find("/*.") != std::string::npos;
        for (const std::string& file : isPattern ? FilesLike(word) : std::vector{word}) {
            const bool isNew = fs::is_regular_file(file, error) && named.insert(file).second;
            if (isNew && EndsWith(file, ".conf")) AddNamed(file, named);
        }
    }
}

}  // namespace

std::string StateOfNamedFiles(const std::vector<std::string>& files)
{
    std::set<std::string> named;
    for (const std::string& file : files) AddNamed(file, named);
    std::string state;
    for (const std::string& file : named) {
        std::error_code error;
        const std::string target = fs::canonical(file, error).string();
        state += file + " " + StateOf(target) + "\n";
    }
    return state;
}

}  // namespace service
