// The alias table in memory.
#include "host/libmailvane/stores/alias_table.h"

#include <algorithm>
#include <set>
#include <utility>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"

namespace host::stores {
namespace {

using Identity = std::pair<int, std::string>;

Identity IdentityOf(const MemberInfo& member)
{
    return {member.type, member.name};
}

template <typename Members>
std::set<Identity> Identities(const Members& members)
{
    std::set<Identity> identities;
    for (const MemberInfo& member : members) identities.insert(IdentityOf(member));
    return identities;
}

std::list<MemberInfo> StoredMembers(std::list<MemberInfo> members)
{
    for (MemberInfo& member : members) member = names::StoredMember(std::move(member));
    return members;
}

Reason Missing(BuiltInWord member)
{
    return {ReasonCode::kMissing, Subject::Setting(member), "an alias that does not exist"};
}

Result<void> CheckName(const std::string& name)
{
    if (names::IsLocalPart(name)) return {};
    return Reason{ReasonCode::kNoName, Subject::Setting("aliasname"), "no name of an alias"};
}

}  // namespace

AliasTable::AliasTable(AliasEntries entries) : entries_(std::move(entries))
{
    byName_.reserve(entries_.size());
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        byName_.emplace(InLowerCase(entry->name), entry);
        nextId_ = std::max(nextId_, entry->id + 1);
    }
}

const AliasEntry* AliasTable::FindAnyCase(const std::string& name) const
{
    const auto found = byName_.find(InLowerCase(name));
    return found == byName_.end() ? nullptr : &*found->second;
}

const AliasEntry* AliasTable::Find(const std::string& name) const
{
    const AliasEntry* found = FindAnyCase(name);
    return found != nullptr && found->name == name ? found : nullptr;
}

void AliasTable::Touch(const AliasEntry& entry)
{
    if (entry.id != 0) touched_.insert(entry.id);
}

AliasEntry& AliasTable::Edit(const std::string& name)
{
    const auto found = byName_.find(InLowerCase(name));
    if (found != byName_.end()) {
        Touch(*found->second);
        return *found->second;
    }
    entries_.push_back({0, name, {}});
    byName_.emplace(InLowerCase(name), std::prev(entries_.end()));
    return entries_.back();
}

Result<void> AliasTable::Check(const MemberInfo& member, const std::string& owner) const
{
    Result<void> checked = names::CheckMember(member);
    if (!checked || member.type != names::kAliasMember) return checked;

    if (member.name == owner || Find(member.name) != nullptr) return {};
    return Missing("member");
}

Result<void> AliasTable::Add(const std::string& name, const std::list<MemberInfo>& asked)
{
    const std::list<MemberInfo> members = StoredMembers(asked);
    Result<void> named = CheckName(name);
    if (!named) return named;
    if (FindAnyCase(name) != nullptr && Find(name) == nullptr) {
        return Reason{ReasonCode::kTaken, Subject::Setting("aliasname"),
                      "a name that another alias has in other letters"};
    }
    for (const MemberInfo& member : members) {
        Result<void> checked = Check(member, name);
        if (!checked) return checked;
    }
    AliasEntry& entry = Edit(name);
    std::set<Identity> present = Identities(entry.members);
    for (const MemberInfo& member : members) {
        if (present.insert(IdentityOf(member)).second) entry.members.push_back(member);
    }
    return {};
}

Result<void> AliasTable::Remove(const std::string& name, const std::list<MemberInfo>& members)
{
    if (Find(name) == nullptr) return Missing("aliasname");

    AliasEntry& entry = Edit(name);
    const std::set<Identity> leaving = Identities(StoredMembers(members));
    const auto isLeaving = [&leaving](const MemberInfo& member) {
        return leaving.count(IdentityOf(member)) != 0;
    };
    auto& all = entry.members;
    all.erase(std::remove_if(all.begin(), all.end(), isLeaving), all.end());
    return {};
}

Result<void> AliasTable::Rename(const std::string& from, const std::string& to)
{
    const AliasEntry* old = Find(from);
    if (old == nullptr) return Missing("orgalias");
    Result<void> named = CheckName(to);
    if (!named) return named;

    const AliasEntry* taken = FindAnyCase(to);
    if (taken != nullptr && taken != old) {
        return Reason{ReasonCode::kTaken, Subject::Setting("aliasname"),
                      "a name that another alias has"};
    }

    auto node = byName_.extract(InLowerCase(from));
    Touch(*node.mapped());
    node.mapped()->name = to;
    node.key() = InLowerCase(to);
    byName_.insert(std::move(node));
    Follow({{InLowerCase(from), to}});
    return {};
}

void AliasTable::Replace(AliasEntries aliases)
{
    while (!aliases.empty()) {
        AliasEntry& alias = aliases.front();
        const auto [found, isNew] = byName_.try_emplace(InLowerCase(alias.name), aliases.begin());
        if (isNew) {
            entries_.splice(entries_.end(), aliases, aliases.begin());
        } else {
            Touch(*found->second);
            found->second->members = std::move(alias.members);
            aliases.pop_front();
        }
    }
}

void AliasTable::Delete(const std::list<std::string>& names)
{
    std::unordered_map<std::string, std::string> gone;
    for (const std::string& name : names) {
        if (Find(name) == nullptr) continue;

        const auto node = byName_.extract(InLowerCase(name));
        Touch(*node.mapped());
        entries_.erase(node.mapped());
        gone.emplace(InLowerCase(name), "");
    }
    if (!gone.empty()) Follow(gone);
}

void AliasTable::Follow(const std::unordered_map<std::string, std::string>& newNames)
{
    const auto isAffected = [&newNames](const MemberInfo& member) {
        return member.type == names::kAliasMember && newNames.count(InLowerCase(member.name)) != 0;
    };
    for (AliasEntry& entry : entries_) {
        auto& members = entry.members;
        if (std::none_of(members.begin(), members.end(), isAffected)) continue;

        Touch(entry);
        for (MemberInfo& member : members) {
            if (isAffected(member)) member.name = newNames.at(InLowerCase(member.name));
        }
        const auto hasNoName = [](const MemberInfo& member) { return member.name.empty(); };
        members.erase(std::remove_if(members.begin(), members.end(), hasNoName), members.end());
    }
}

AliasChange AliasTable::Pending()
{
    AliasChange change;
    change.removed.assign(touched_.begin(), touched_.end());
    for (AliasEntry& entry : entries_) {
        const bool isNew = entry.id == 0;
        if (isNew) entry.id = nextId_++;
        if (isNew || touched_.count(entry.id) != 0) change.added.push_back(&entry);
    }
    return change;
}

}  // namespace host::stores
