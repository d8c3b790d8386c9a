// The maps made from the aliases: where their mail goes, and which logins may send from them.
#include "host/libmailvane/render/alias_maps.h"

#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libhaldsdk/group_members.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/postfix.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "host/libmailvane/stores/alias_store.h"
#include "platform/hlib/accounts.h"

namespace host::render {
namespace {

using Files = std::vector<generation::ListFile>;

int SourceOf(const std::string& accountType)
{
    if (accountType == "ldap") return HLIB_ACCOUNT_LDAP;
    return accountType == "win" ? HLIB_ACCOUNT_DOMAIN : HLIB_ACCOUNT_LOCAL;
}

/// The members of a group. An account engine that cannot be asked is an error, since mail would
/// reach too few; a group that no longer exists only has no members.
Result<std::vector<std::string>> MembersOf(GroupMembers& groups, const std::string& group)
{
    auto members = groups.Find(group);
    if (!members) {
        return Reason{ReasonCode::kDaemonIsDown,
                      group,
                      "the group " + group + " cannot be read",
                      {std::move(members).reason()}};
    }
    if (*members) return **std::move(members);

    Log(LOG_WARNING, "aliases: there is no group %s", group.c_str());
    return std::vector<std::string>();
}

/// A line of a map with the values separated by commas; no line when there are no values.
std::string MapLine(const std::string& key, const std::vector<std::string>& values)
{
    std::string line;
    for (const std::string& value : values) line += (line.empty() ? "" : ", ") + value;
    return line.empty() ? "" : key + " " + line + "\n";
}

class MapTexts {
public:
    /// `loginPrefix` (such as `OFFICE\`) may stand before the account's name in a login.
    explicit MapTexts(std::string loginPrefix) : loginPrefix_(std::move(loginPrefix)) {}

    void Add(const std::string& alias, Recipients recipients)
    {
        std::vector<std::string> logins;
        for (const std::string& user : recipients.users) AddLogins(user, logins);
        AddLogins(alias, logins);  // the login of the same name may send from it
        logins_ += MapLine(alias, logins);

        std::vector<std::string>& all = recipients.users;
        all.insert(all.end(), recipients.outside.begin(), recipients.outside.end());
        aliases_ += MapLine(alias, all);
    }

    const std::string& aliases() const { return aliases_; }
    const std::string& logins() const { return logins_; }

private:
    void AddLogins(const std::string& user, std::vector<std::string>& logins) const
    {
        logins.push_back(user);
        if (!loginPrefix_.empty()) logins.push_back(loginPrefix_ + user);
    }

    std::string loginPrefix_;
    std::string aliases_;
    std::string logins_;
};

Result<MapTexts> MakeTexts(const stores::AliasTable& table)
{
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();

    GroupMembers groups(SourceOf(settings->Text("account_type")));
    AliasExpansion expansion(
        table, settings::MailDomains(*settings),
        [&groups](const std::string& group) { return MembersOf(groups, group); });
    const std::string administrator = FirstAdministrator();
    for (const char* role : kRoles) {
        if (!administrator.empty()) expansion.AddRole(role, administrator);
    }
    MapTexts texts(LoginPrefix(*settings));
    for (const stores::AliasEntry& alias : table.entries()) {
        Result<Recipients> recipients = expansion.Expand(alias);
        if (!recipients) return std::move(recipients).reason();
        texts.Add(alias.name, *std::move(recipients));
    }
    return texts;
}

Result<stores::AliasTable> StoredTable()
{
    Result<stores::AliasEntries> aliases = stores::ReadAliases();
    if (!aliases) return std::move(aliases).reason();
    return stores::AliasTable(*std::move(aliases));
}

}  // namespace

Result<Files> AliasFilesOf(const stores::AliasTable& table)
{
    const Result<MapTexts> texts = MakeTexts(table);
    if (!texts) return texts.reason();
    return Files{{"aliases", texts->aliases()}, {"login_aliases", texts->logins()}};
}

Result<Files> AliasFiles()
{
    const Result<stores::AliasTable> table = StoredTable();
    return table ? AliasFilesOf(*table) : table.reason();
}

Result<Files> LoginFiles()
{
    const Result<stores::AliasTable> table = StoredTable();
    if (!table) return table.reason();
    const Result<MapTexts> texts = MakeTexts(*table);
    if (!texts) return texts.reason();
    return Files{{"login_aliases", texts->logins()}};
}

}  // namespace host::render
