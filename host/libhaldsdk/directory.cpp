// Whether the machine is a member of a Windows domain (/usr/hald/etc/smb.conf: `security = ads` and
// a realm) or uses an LDAP directory (/etc/haldinfo.conf: ldap_enabled="yes", ldap_suffix="...").
#include "platform/hald/directory.h"

#include <strings.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"

namespace {

/// The value of a key; empty when the file or the key is missing.
std::string ValueOf(const char* file, const char* key)
{
    const std::optional<host::KeyValueFile> values = host::KeyValueFile::Read(host::Path(file));
    return values ? values->Get(key).value_or("") : "";
}

}  // namespace

int HALDWinsIsJoined()
{
    constexpr char kFile[] = "/usr/hald/etc/smb.conf";
    const bool ads = strcasecmp(ValueOf(kFile, "security").c_str(), "ads") == 0;
    return ads && !ValueOf(kFile, "realm").empty() ? 1 : 0;
}

int HALDLDAPIsBinded()
{
    return ValueOf("/etc/haldinfo.conf", "ldap_enabled") == "yes" ? 1 : 0;
}

int HALDLDAPLoginSuffixGet(char* buffer, int size)
{
    if (buffer == nullptr || size <= 0) return host::Fail(EINVAL);
    buffer[0] = '\0';
    const std::string suffix = ValueOf("/etc/haldinfo.conf", "ldap_suffix");
    if (suffix.empty()) return host::Fail(ENOENT);
    // An error, since a truncated suffix would name another directory.
    if (suffix.size() >= static_cast<std::size_t>(size)) return host::Fail(ENOSPC);

    memcpy(buffer, suffix.c_str(), suffix.size() + 1);
    return 0;
}
