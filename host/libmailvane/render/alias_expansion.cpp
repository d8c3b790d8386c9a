// Expansion of aliases to their final recipients.
#include "host/libmailvane/render/alias_expansion.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"

namespace host::render {
namespace {

constexpr std::size_t kMostKeptOfGroups = 100000;
constexpr std::size_t kBytesOfNames = std::size_t{4} << 20;
constexpr std::size_t kBytesOfPages = std::size_t{8} << 20;

/// The name of a user without its Windows domain: `anna` of `OFFICE\anna`.
std::string LocalName(const std::string& user)
{
    return user.substr(user.find('\\') + 1);
}

}  // namespace

/// A depth-first walk through the members of one alias.
struct AliasExpansion::Walk {
    enum class State { kOpen, kDone };
    struct Step {
        List list;
        std::int64_t position;
    };

    /// Makes a list of members the next to be visited, unless it has been visited.
    void Enter(List list)
    {
        if (states.emplace(list, State::kOpen).second)
            path.push_back({list, stores::kBeforeMembers});
    }

    void Add(std::vector<std::string>& list, const std::string& recipient)
    {
        if (seen.insert(InLowerCase(recipient)).second) list.push_back(recipient);
    }

    bool HasTooMany() const { return seen.size() > kMostRecipientsOfAlias; }

    std::vector<Step> path;
    std::unordered_map<List, State> states;
    std::unordered_set<std::string> seen;
    Recipients found;
};

AliasExpansion::AliasExpansion(SQLite::Database& aliases, const std::vector<std::string>& domains,
                               Group group)
    : aliases_(aliases),
      names_(kBytesOfNames),
      pages_(kBytesOfPages),
      domains_{"localhost"},
      group_(std::move(group))
{
    for (const std::string& domain : domains) domains_.insert(InLowerCase(domain));
}

void AliasExpansion::AddRole(const std::string& name, const std::string& user)
{
    roles_[name] = Keep({MemberInfo{user, names::kUserMember}});
}

AliasExpansion::List AliasExpansion::Keep(Members members)
{
    kept_.emplace(nextKept_, std::move(members));
    return nextKept_--;
}

void AliasExpansion::ForgetGroups()
{
    for (const auto& [name, list] : groups_) kept_.erase(list);
    groups_.clear();
    keptOfGroups_ = 0;
}

AliasExpansion::List AliasExpansion::AliasList(const std::string& name)
{
    const std::string key = InLowerCase(name);
    if (const List* known = names_.Find(key)) return *known;

    List list = 0;
    if (const auto alias = aliases_.Find(name)) {
        list = alias->id;
    } else if (const auto role = roles_.find(key); role != roles_.end()) {
        list = role->second;
    }
    return names_.Keep(key, list, key.size());
}

Result<AliasExpansion::List> AliasExpansion::GroupList(const std::string& name)
{
    const auto known = groups_.find(name);
    if (known != groups_.end()) return known->second;

    Result<std::vector<std::string>> users = group_(name);
    if (!users) return std::move(users).reason();

    Members members;
    for (const std::string& user : *users) {
        const MemberInfo member{user, names::kUserMember};
        if (names::CheckMember(member)) {
            members.push_back(member);
        } else {
            Log(LOG_WARNING, "aliases: a member of the group %s cannot have mail", name.c_str());
        }
    }
    keptOfGroups_ += 1 + members.size();
    return groups_[name] = Keep(std::move(members));
}

const stores::MemberPage& AliasExpansion::Page(List list, std::int64_t position)
{
    const stores::MemberPage* known = pages_.Find(list);
    if (known != nullptr && known->after <= position && position < known->last) return *known;

    stores::MemberPage page = aliases_.MembersAfter(list, position);
    std::size_t bytes = page.members.capacity() * sizeof(page.members[0]);
    for (const auto& [_, member] : page.members) bytes += member.name.size();
    return pages_.Keep(list, std::move(page), bytes);
}

const MemberInfo* AliasExpansion::Next(List list, std::int64_t& position)
{
    if (list < 0) {
        const Members& members = kept_.at(list);
        const auto next = static_cast<std::size_t>(++position);
        return next < members.size() ? &members[next] : nullptr;
    }
    const auto& members = Page(list, position).members;
    const auto next = std::upper_bound(
        members.begin(), members.end(), position,
        [](std::int64_t before, const auto& member) { return before < member.first; });
    if (next == members.end()) return nullptr;
    position = next->first;
    return &next->second;
}

Result<Recipients> AliasExpansion::Expand(const stores::AliasEntry& alias)
{
    if (keptOfGroups_ > kMostKeptOfGroups) ForgetGroups();
    Walk walk;
    walk.Enter(alias.id);
    while (!walk.path.empty()) {
        if (walk.HasTooMany()) {
            return Reason{ReasonCode::kTooMany, Subject::Setting("member"),
                          "the alias " + alias.name + " has too many recipients"};
        }
        Walk::Step& step = walk.path.back();
        if (const MemberInfo* member = Next(step.list, step.position)) {
            Result<void> done = Visit(walk, *member);
            if (!done) return std::move(done).reason();
        } else {
            walk.states[step.list] = Walk::State::kDone;
            walk.path.pop_back();
        }
    }
    return std::move(walk.found);
}

Result<void> AliasExpansion::Visit(Walk& walk, const MemberInfo& member)
{
    switch (member.type) {
        case names::kGroupMember: {
            Result<List> members = GroupList(member.name);
            if (!members) return std::move(members).reason();
            walk.Enter(*members);
            break;
        }
        case names::kAliasMember:
            if (const List members = AliasList(member.name)) walk.Enter(members);
            break;
        case names::kOutsideMember:
            VisitAddress(walk, member.name);
            break;
        default:
            VisitLocal(walk, LocalName(member.name));
    }
    return {};
}

void AliasExpansion::VisitLocal(Walk& walk, const std::string& name)
{
    List alias = AliasList(name);
    // As Postfix does: mail for `sales+news` goes to the alias `sales`.
    if (alias == 0) alias = AliasList(name.substr(0, name.find('+')));

    const auto state = walk.states.find(alias);
    const bool leadsBack = state != walk.states.end() && state->second == Walk::State::kOpen;
    if (alias == 0 || leadsBack) {
        walk.Add(walk.found.users, name);
    } else {
        walk.Enter(alias);
    }
}

void AliasExpansion::VisitAddress(Walk& walk, const std::string& address)
{
    const std::size_t at = address.find('@');
    if (domains_.count(InLowerCase(address.substr(at + 1))) != 0) {
        VisitLocal(walk, address.substr(0, at));
    } else {
        walk.Add(walk.found.outside, address);
    }
}

}  // namespace host::render
