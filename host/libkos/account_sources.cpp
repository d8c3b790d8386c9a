// Sources of the administrators' accounts. Reads /etc/passwd, /etc/shadow and /etc/group, or asks
// the name services.
#include "host/libkos/account_sources.h"

#include <grp.h>
#include <pwd.h>
#include <shadow.h>

#include <cerrno>
#include <charconv>
#include <string_view>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

using Fields = std::vector<std::string>;

/// The fields after `name:` in its line of a file like /etc/passwd.
Lookup FindLine(const char* path, const std::string& name, Fields& fields)
{
    std::string text;
    if (!host::ReadFile(host::Path(path), text))
        return errno == ENOENT ? Lookup::kAbsent : Lookup::kFailed;

    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = CutAt(rest, '\n');
        if (CutAt(line, ':') != name) continue;
        while (!line.empty()) fields.emplace_back(CutAt(line, ':'));
        return Lookup::kFound;
    }
    return Lookup::kAbsent;
}

/// The number in a field; nothing when it is empty or no number.
template <typename Number>
std::optional<Number> NumberAt(const Fields& fields, std::size_t index)
{
    if (index >= fields.size()) return std::nullopt;

    Number number = 0;
    const std::string& text = fields[index];
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

/// Calls a re-entrant look-up, such as getpwnam_r, with a buffer that grows until the record fits.
template <typename Record, typename Function>
Lookup Ask(Function function, const char* name, Record& record, std::vector<char>& buffer)
{
    constexpr std::size_t kMost = std::size_t{16} << 20;
    Record* found = nullptr;
    int error = ERANGE;
    for (std::size_t size = 4096; error == ERANGE && size <= kMost; size *= 4) {
        buffer.resize(size);
        error = function(name, &record, buffer.data(), size, &found);
    }
    if (found != nullptr) return Lookup::kFound;
    const bool absent = error == 0 || error == ENOENT || error == ESRCH;
    return absent ? Lookup::kAbsent : Lookup::kFailed;
}

}  // namespace

// Fields after the name: password, uid, gid in /etc/passwd; seven in /etc/shadow, of which the last
// is the expiry; password, gid, members in /etc/group.

Lookup FindLocalAccount(const std::string& name, CallerAccount& account)
{
    Fields fields;
    const Lookup result = FindLine("/etc/passwd", name, fields);
    if (result != Lookup::kFound) return result;

    const std::optional<gid_t> group = NumberAt<gid_t>(fields, 2);
    if (!group) return Lookup::kAbsent;

    Fields shadow;
    if (FindLine("/etc/shadow", name, shadow) == Lookup::kFailed) return Lookup::kFailed;
    account = {name, *group, NumberAt<long>(shadow, 6)};
    return Lookup::kFound;
}

Lookup FindLocalGroup(const std::string& name, CallerGroup& group)
{
    Fields fields;
    const Lookup result = FindLine("/etc/group", name, fields);
    if (result != Lookup::kFound) return result;

    const std::optional<gid_t> id = NumberAt<gid_t>(fields, 1);
    if (!id) return Lookup::kAbsent;

    group.id = *id;
    std::string_view members = fields.size() > 2 ? fields[2] : std::string_view();
    while (!members.empty()) group.members.emplace_back(CutAt(members, ','));
    return Lookup::kFound;
}

Lookup FindNssAccount(const std::string& name, CallerAccount& account)
{
    std::vector<char> buffer;
    struct passwd entry;
    const Lookup result = Ask(getpwnam_r, name.c_str(), entry, buffer);
    if (result != Lookup::kFound) return result;
    account.name = entry.pw_name;
    account.group = entry.pw_gid;

    struct spwd shadow;
    const Lookup hasShadow = Ask(getspnam_r, account.name.c_str(), shadow, buffer);
    if (hasShadow == Lookup::kFound && shadow.sp_expire >= 0) account.expires = shadow.sp_expire;
    return hasShadow == Lookup::kFailed ? Lookup::kFailed : Lookup::kFound;
}

Lookup FindNssGroup(const std::string& name, CallerGroup& group)
{
    std::vector<char> buffer;
    struct group entry;
    const Lookup result = Ask(getgrnam_r, name.c_str(), entry, buffer);
    if (result != Lookup::kFound) return result;

    group.id = entry.gr_gid;
    for (char** member = entry.gr_mem; *member != nullptr; ++member) {
        group.members.emplace_back(*member);
    }
    return Lookup::kFound;
}

}  // namespace kos
