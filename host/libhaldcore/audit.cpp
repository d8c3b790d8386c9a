// The names of what a request changes, for the audit line in the system log.
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

}  // namespace host
