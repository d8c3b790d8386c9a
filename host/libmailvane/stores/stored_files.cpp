// What has to hold in the table of stored files, checked while it is compiled.
#include "host/libmailvane/stores/stored_files.h"

namespace host::stores {

namespace {

constexpr bool IsPlainName(std::string_view name)
{
    for (const char c : name) {
        if (c <= ' ' || c > '~' || c == '/') return false;
    }
    return !name.empty() && name.front() != '.';
}

constexpr bool AllNamesArePlain()
{
    for (const StoredFile& file : kStoredFiles) {
        if (!IsPlainName(file.name) || file.owner.empty() || file.group.empty()) return false;
    }
    return true;
}

constexpr bool NamesDiffer()
{
    for (const StoredFile& file : kStoredFiles) {
        if (FindStoredFile(file.name) != &file || file.name == kStagedRules) return false;
    }
    return true;
}

/// Nobody but root changes what is stored.
constexpr bool IsRootsToWrite()
{
    for (const StoredFile& file : kStoredFiles) {
        if (file.owner != "root" || (file.mode & 0022U) != 0) return false;
    }
    return true;
}

static_assert(AllNamesArePlain(), "a name, owner or group is missing");
static_assert(NamesDiffer(), "a name stands twice");
static_assert(IsRootsToWrite(), "somebody else may write it");

}  // namespace

}  // namespace host::stores
