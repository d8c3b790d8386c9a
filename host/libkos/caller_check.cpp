// Who may administer the mail server. Reads /etc/haldinfo.conf.
#include "host/libkos/caller_check.h"

#include <algorithm>
#include <ctime>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libkos/account_sources.h"

namespace kos {

namespace {

constexpr char kDefaultGroup[] = "administrators";
constexpr std::time_t kDay = 86400;

bool HoldsControlCharacter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), host::IsControl);
}

struct AdminSettings {
    std::string group = kDefaultGroup;
    bool nss = false;
};

AdminSettings ReadAdminSettings()
{
    AdminSettings settings;
    const auto file = host::KeyValueFile::Read(host::Path("/etc/haldinfo.conf"));
    if (!file) return settings;

    const std::string group = file->Get("admin_group").value_or("");
    if (!group.empty()) settings.group = group;
    settings.nss = file->Get("admin_source") == "nss";
    return settings;
}

Lookup FindGroupOf(const AdminSettings& settings, CallerGroup& group)
{
    return settings.nss ? FindNssGroup(settings.group, group)
                        : FindLocalGroup(settings.group, group);
}

}  // namespace

host::Result<std::optional<CallerGroup>> FindAdministrators()
{
    CallerGroup group;
    switch (FindGroupOf(ReadAdminSettings(), group)) {
        case Lookup::kFound:
            return std::make_optional(std::move(group));
        case Lookup::kAbsent:
            return {std::nullopt};
        case Lookup::kFailed:
            break;
    }
    return host::Reason{host::ReasonCode::kDaemonIsDown, host::Subject::Service("directory"),
                        "the administrators' group cannot be read"};
}

Caller JudgeCaller(const CallerAccount& account, const CallerGroup& administrators, long today)
{
    const auto& members = administrators.members;
    const bool member = account.group == administrators.id ||
                        std::find(members.begin(), members.end(), account.name) != members.end();
    if (!member) return Caller::kNoMember;

    const bool expired = account.expires && today >= *account.expires;
    return expired ? Caller::kExpired : Caller::kAdministrator;
}

Caller CheckCaller(const std::string& user)
{
    if (user.empty()) return Caller::kNobody;
    if (HoldsControlCharacter(user)) return Caller::kBadName;

    const AdminSettings settings = ReadAdminSettings();
    CallerAccount account;
    const Lookup found =
        settings.nss ? FindNssAccount(user, account) : FindLocalAccount(user, account);
    if (found == Lookup::kFailed) return Caller::kUnknown;
    if (found == Lookup::kAbsent) return Caller::kNoAccount;

    CallerGroup group;
    const Lookup hasGroup = FindGroupOf(settings, group);
    if (hasGroup == Lookup::kFailed) return Caller::kUnknown;
    if (hasGroup == Lookup::kAbsent) return Caller::kNoMember;
    return JudgeCaller(account, group, static_cast<long>(std::time(nullptr) / kDay));
}

}  // namespace kos
