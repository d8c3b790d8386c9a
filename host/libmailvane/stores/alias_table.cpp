// The alias table, and its changes since it was read.
#include "host/libmailvane/stores/alias_table.h"

#include <map>
#include <set>
#include <utility>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"

namespace host::stores {
namespace {

/// A database of its own, in a file without a name once it is large.
SQLite::Database Empty()
{
    SQLite::Database database("", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    database.exec(kAliasTables);
    return database;
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

AliasTable::AliasTable() : AliasTable(Empty()) {}

AliasTable::AliasTable(SQLite::Database stored) : database_(std::move(stored)), finder_(database_)
{
}

AliasDraft& AliasTable::draft()
{
    if (!draft_) draft_.emplace(database_);
    EndMoment();
    return *draft_;
}

void AliasTable::BeginMoment()
{
    moment_.emplace(database_);
    for (const char* what : {"alias NOT INDEXED", "alias", "member"}) {
        (void)database_.execAndGet(std::string("SELECT count(*) FROM ") + what);
    }
}

void AliasTable::EndMoment()
{
    if (moment_) moment_->commit();
    moment_.reset();
}

std::optional<AliasEntry> AliasTable::Find(const std::string& name)
{
    auto found = FindAnyCase(name);
    if (found && found->name != name) found.reset();
    return found;
}

std::list<std::string> AliasTable::Names()
{
    SQLite::Statement rows(database_, "SELECT name FROM alias ORDER BY id");
    std::list<std::string> names;
    while (rows.executeStep()) names.emplace_back(rows.getColumn(0).getText());
    return names;
}

Result<void> AliasTable::Check(const MemberInfo& member, const std::string& owner)
{
    Result<void> checked = names::CheckMember(member);
    if (!checked || member.type != names::kAliasMember) return checked;

    if (member.name == owner || Find(member.name)) return {};
    return Missing("member");
}

Result<void> AliasTable::Add(const std::string& name, const std::list<MemberInfo>& asked)
{
    Result<void> named = CheckName(name);
    if (!named) return named;
    const auto known = FindAnyCase(name);
    if (known && known->name != name) {
        return Reason{ReasonCode::kTaken, Subject::Setting("aliasname"),
                      "a name that another alias has in other letters"};
    }
    std::list<MemberInfo> members = asked;
    for (MemberInfo& member : members) {
        member = names::StoredMember(std::move(member));
        Result<void> checked = Check(member, name);
        if (!checked) return checked;
    }
    const std::int64_t alias = known ? known->id : draft().Add(name);
    std::set<std::pair<int, std::string>> present;
    for (MemberInfo& member : finder_.Members(alias)) {
        present.emplace(member.type, std::move(member.name));
    }
    for (const MemberInfo& member : members) {
        if (present.emplace(member.type, member.name).second) draft().AddMember(alias, member);
    }
    return {};
}

Result<void> AliasTable::Remove(const std::string& name, const std::list<MemberInfo>& members)
{
    const auto alias = Find(name);
    if (!alias) return Missing("aliasname");

    for (const MemberInfo& member : members) {
        draft().RemoveMember(alias->id, names::StoredMember(member));
    }
    return {};
}

Result<void> AliasTable::Rename(const std::string& from, const std::string& to)
{
    const auto old = Find(from);
    if (!old) return Missing("orgalias");
    Result<void> named = CheckName(to);
    if (!named) return named;

    const auto taken = FindAnyCase(to);
    if (taken && taken->id != old->id) {
        return Reason{ReasonCode::kTaken, Subject::Setting("aliasname"),
                      "a name that another alias has"};
    }
    draft().Rename(old->id, to);
    draft().Follow({{from, to}});
    return {};
}

void AliasTable::Delete(const std::list<std::string>& names)
{
    std::map<std::string, std::string> gone;
    for (const std::string& name : names) {
        const auto alias = Find(name);
        if (!alias) continue;

        draft().Remove(alias->id);
        gone.emplace(name, "");
    }
    if (!gone.empty()) draft().Follow(gone);
}

}  // namespace host::stores
