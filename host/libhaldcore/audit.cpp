// What a request changes and what of it fails, for the audit line in the system log.
#include "host/libhaldcore/audit.h"

#include <algorithm>
#include <vector>

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

}  // namespace host
