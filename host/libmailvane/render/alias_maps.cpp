// The maps made from the aliases: where their mail goes, and which logins may send from them.
#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libhaldsdk/file_version.h"
#include "host/libhaldsdk/group_members.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/render/postfix.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/system/account_source.h"

namespace host::render {
namespace {

/// The members of a group. An account engine that cannot be asked is an error, since mail would
/// reach too few; a group that no longer exists only has no members.
Result<std::vector<std::string>> MembersOf(GroupMembers& groups, const std::string& group)
{
    auto members = groups.Find(group);
    if (!members) {
        return Reason{ReasonCode::kDaemonIsDown,
                      Subject::Service(kAccountSource),
                      "the group " + group + " cannot be read",
                      {std::move(members).reason()}};
    }
    if (*members) return **std::move(members);

    Log(LOG_WARNING, "aliases: there is no group %s", group.c_str());
    return std::vector<std::string>();
}

/// Which users of this server there are. Names are asked for once, unless there are very many.
class KnownUsers {
public:
    /// `loginPrefix` (such as `OFFICE\`) may stand before the account's name.
    explicit KnownUsers(std::string loginPrefix) : loginPrefix_(std::move(loginPrefix)) {}

    /// Whether there is certainly no such user: where an account engine does not answer, any may
    /// exist.
    bool IsUnknown(const std::string& user)
    {
        if (engineIsDown_) return false;
        const std::string name = InLowerCase(user.substr(0, user.find('+')));
        if (isUnknown_.size() >= kMostKept) isUnknown_.clear();
        const auto [known, isNew] = isUnknown_.emplace(name, false);
        if (isNew) known->second = Ask({user, name, loginPrefix_ + name});
        return known->second;
    }

private:
    bool Ask(const std::set<std::string>& spellings)
    {
        for (const std::string& spelling : spellings) {
            const auto found = FindUser(spelling);
            engineIsDown_ = !Succeeded(found);
            if (engineIsDown_ || *found) return false;
        }
        return true;
    }

    static constexpr std::size_t kMostKept = 100000;

    std::string loginPrefix_;
    bool engineIsDown_ = false;
    std::unordered_map<std::string, bool> isUnknown_;
};

/// Whether mail for an alias would reach nobody: all its members are unknown, and there is no
/// mailbox of its name.
bool ReachesNobody(KnownUsers& known, const std::string& alias, const Recipients& recipients)
{
    if (recipients.users.empty() || !recipients.outside.empty()) return false;
    return std::all_of(recipients.users.begin(), recipients.users.end(),
                       [&known](const std::string& user) { return known.IsUnknown(user); }) &&
           known.IsUnknown(alias);
}

/// Warns of aliases that reach nobody; of the first ones by name, so that a directory that has
/// lost its users does not flood the log.
class Warnings {
public:
    void Add(const std::string& alias)
    {
        if (++count_ > kMostTold) return;
        Log(LOG_WARNING, "aliases: mail for %s is refused: none of its members is a user",
            alias.c_str());
    }

    void End() const
    {
        if (count_ <= kMostTold) return;
        Log(LOG_WARNING, "aliases: so is mail for %d others", count_ - kMostTold);
    }

private:
    static constexpr int kMostTold = 20;
    int count_ = 0;
};

/// A line of a map, whose values are separated by commas.
class MapLine {
public:
    explicit MapLine(const std::string& key) : line_(key + " "), values_(line_.size()) {}

    void Add(const std::string& prefix, const std::string& value)
    {
        if (HasValues()) line_ += ", ";
        line_.append(prefix).append(value);
    }

    /// No line when there are no values.
    std::string End() &&
    {
        if (!HasValues()) return "";
        line_ += '\n';
        return std::move(line_);
    }

private:
    bool HasValues() const { return line_.size() > values_; }

    std::string line_;
    std::size_t values_;  ///< where they begin
};

class MapTexts {
public:
    /// `loginPrefix` (such as `OFFICE\`) may stand before the account's name in a login.
    explicit MapTexts(std::string loginPrefix) : loginPrefix_(std::move(loginPrefix)) {}

    void Add(const std::string& alias, const Recipients& recipients)
    {
        MapLine logins(alias);
        for (const std::string& user : recipients.users) AddLogins(user, logins);
        AddLogins(alias, logins);  // the login of the same name may send from it
        logins_ += std::move(logins).End();

        MapLine all(alias);
        for (const std::string& user : recipients.users) all.Add("", user);
        for (const std::string& address : recipients.outside) all.Add("", address);
        aliases_ += std::move(all).End();
    }

    /// An alias whose members cannot be told.
    void AddWaiting(const std::string& alias)
    {
        waiting_ += alias + "@ 451 4.3.0 The members of this address cannot be told at present\n";
    }

    Texts All() && { return TextsOf(std::move(aliases_), std::move(logins_), std::move(waiting_)); }

private:
    void AddLogins(const std::string& user, MapLine& logins) const
    {
        logins.Add("", user);
        if (!loginPrefix_.empty()) logins.Add(loginPrefix_, user);
    }

    std::string loginPrefix_;
    generation::LongText aliases_;
    generation::LongText logins_;
    generation::LongText waiting_;
};

/// Whether mail for an alias is to wait until its members can be told.
bool Waits(const Reason& reason, Silence silence)
{
    return silence == Silence::kWaits && reason.code == ReasonCode::kDaemonIsDown;
}

}  // namespace

ListTexts AliasTexts(const ListSources& sources)
{
    const AccountsOfOneMoment moment;
    GroupMembers groups(system::AccountSourceOf(sources.settings.Text("account_type")));
    AliasExpansion expansion(
        sources.database, settings::MailDomains(sources.settings),
        [&groups](const std::string& group) { return MembersOf(groups, group); });
    const std::string administrator = FirstAdministrator();
    for (const char* role : kRoles) {
        if (!administrator.empty()) expansion.AddRole(role, administrator);
    }
    MapTexts texts(LoginPrefix(sources.settings));
    KnownUsers known(LoginPrefix(sources.settings));
    Warnings warnings;
    Result<void> done =
        stores::EachAlias(sources.database, [&](const stores::AliasEntry& alias) -> Result<void> {
            Result<Recipients> recipients = expansion.Expand(alias);
            if (!recipients && Waits(recipients.reason(), sources.silence)) {
                LogReason(recipients.reason());
                texts.AddWaiting(alias.name);
                return {};
            }
            if (!recipients) return std::move(recipients).reason();
            // The mail server refuses mail for whom no map has; what it took it would have to
            // bounce.
            if (ReachesNobody(known, alias.name, *recipients)) {
                warnings.Add(alias.name);
                recipients->users.clear();
            }
            texts.Add(alias.name, *recipients);
            return {};
        });
    if (!done) return std::move(done).reason();
    warnings.End();
    return std::move(texts).All();
}

}  // namespace host::render
