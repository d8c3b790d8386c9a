// What a request changes and what of it fails, for the audit line in the system log.
#include "host/libhaldcore/audit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

namespace host {
namespace {

std::vector<std::string>& Names()
{
    static std::vector<std::string> names;
    return names;
}

std::string& Failure()
{
    static std::string reason;
    return reason;
}

/// A file that has a byte for each change that ended so.
std::string CountPath(const char* result)
{
    return Path(std::string("/run/mailvane/changes.") + result);
}

}  // namespace

void NoteChange(const std::string& name)
{
    std::vector<std::string>& names = Names();
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

std::string NotedChanges()
{
    std::string text;
    for (const std::string& name : Names()) text += (text.empty() ? "" : ", ") + name;
    return text;
}

void NoteFailure(const std::string& reason)
{
    if (Failure().empty()) Failure() = reason;
}

const std::string& NotedFailure()
{
    return Failure();
}

void CountChange(const char* result)
{
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
    const Descriptor file(open(CountPath(result).c_str(), kFlags, 0600));
    if (file) (void)WriteAll(file.get(), ".");
}

std::int64_t CountedChanges(const char* result)
{
    struct stat status {};
    return stat(CountPath(result).c_str(), &status) == 0 ? std::int64_t{status.st_size} : 0;
}

}  // namespace host
