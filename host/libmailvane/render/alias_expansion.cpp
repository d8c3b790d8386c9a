// Expansion of aliases to their final recipients.
#include "host/libmailvane/render/alias_expansion.h"

#include <unordered_set>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"

namespace host::render {
namespace {

/// The name of a user without its Windows domain: `anna` of `OFFICE\anna`.
std::string LocalName(const std::string& user)
{
    return user.substr(user.find('\\') + 1);
}

}  // namespace

/// A depth-first walk through the members of one alias. A list of members is identified by its
/// address.
struct AliasExpansion::Walk {
    enum class State { kOpen, kDone };
    struct Step {
        const Members* members;
        std::size_t next;
    };

    /// Makes a list of members the next to be visited, unless it has been visited.
    void Enter(const Members* members)
    {
        if (states.emplace(members, State::kOpen).second) path.push_back({members, 0});
    }

    void Add(std::vector<std::string>& list, const std::string& recipient)
    {
        if (seen.insert(InLowerCase(recipient)).second) list.push_back(recipient);
    }

    bool HasTooMany() const { return seen.size() > kMostRecipientsOfAlias; }

    std::vector<Step> path;
    std::unordered_map<const Members*, State> states;
    std::unordered_set<std::string> seen;
    Recipients found;
};

AliasExpansion::AliasExpansion(const stores::AliasTable& table,
                               const std::vector<std::string>& domains, Group group)
    : table_(table), domains_{"localhost"}, group_(std::move(group))
{
    for (const std::string& domain : domains) domains_.insert(InLowerCase(domain));
}

void AliasExpansion::AddRole(const std::string& name, const std::string& user)
{
    roles_[name] = {MemberInfo{user, names::kUserMember}};
}

const AliasExpansion::Members* AliasExpansion::AliasMembers(const std::string& name) const
{
    const stores::AliasEntry* alias = table_.FindAnyCase(name);
    if (alias != nullptr) return &alias->members;

    const auto role = roles_.find(InLowerCase(name));
    return role == roles_.end() ? nullptr : &role->second;
}

Result<const AliasExpansion::Members*> AliasExpansion::GroupMembers(const std::string& name)
{
    const auto known = groups_.find(name);
    if (known != groups_.end()) return &known->second;

    Result<std::vector<std::string>> users = group_(name);
    if (!users) return std::move(users).reason();

    Members& members = groups_[name];
    for (const std::string& user : *users) {
        const MemberInfo member{user, names::kUserMember};
        if (names::CheckMember(member)) {
            members.push_back(member);
        } else {
            Log(LOG_WARNING, "aliases: a member of the group %s cannot have mail", name.c_str());
        }
    }
    return &members;
}

Result<Recipients> AliasExpansion::Expand(const stores::AliasEntry& alias)
{
    Walk walk;
    walk.Enter(&alias.members);
    while (!walk.path.empty()) {
        if (walk.HasTooMany()) {
            return Reason{ReasonCode::kTooMany, Subject::Setting("member"),
                          "the alias " + alias.name + " has too many recipients"};
        }
        Walk::Step& step = walk.path.back();
        if (step.next < step.members->size()) {
            Result<void> done = Visit(walk, (*step.members)[step.next++]);
            if (!done) return std::move(done).reason();
        } else {
            walk.states[step.members] = Walk::State::kDone;
            walk.path.pop_back();
        }
    }
    return std::move(walk.found);
}

Result<void> AliasExpansion::Visit(Walk& walk, const MemberInfo& member)
{
    switch (member.type) {
        case names::kGroupMember: {
            Result<const Members*> members = GroupMembers(member.name);
            if (!members) return std::move(members).reason();
            walk.Enter(*members);
            break;
        }
        case names::kAliasMember:
            if (const Members* members = AliasMembers(member.name)) walk.Enter(members);
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
    const Members* alias = AliasMembers(name);
    // As Postfix does: mail for `sales+news` goes to the alias `sales`.
    if (alias == nullptr) alias = AliasMembers(name.substr(0, name.find('+')));

    const auto state = walk.states.find(alias);
    const bool leadsBack = state != walk.states.end() && state->second == Walk::State::kOpen;
    if (alias == nullptr || leadsBack) {
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
