// The platform's alias table. Stored in etc/alias.db.
#include "platform/mailvane/alias.h"

#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/error.h"
#include "host/libhaldcore/noted_reasons.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/alias_table.h"
#include "host/libmailvane/stores/alias_text.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/postfix.h"

struct Alias::State {
    std::optional<host::stores::AliasTable> table;  ///< once it is loaded
    std::optional<host::stores::AliasReader>
        upcoming;          ///< as long as members are asked for in order
    bool refused = false;  ///< a change was refused; the store is not written then

    /// Whether the table was loaded and no change refused.
    bool ok() const { return table && !refused; }

    /// The result of a change: 0, or negative after logging the refusal and marking the object.
    int Take(host::Result<void> changed)
    {
        if (host::Succeeded(std::move(changed).Prefixed("aliases: refused "))) return 0;

        refused = true;
        return host::Fail(EINVAL);
    }

    template <typename Change>
    int Answer(Change change)
    {
        upcoming.reset();
        return ok() ? Take(host::system::Attempt("aliases", change)) : host::Fail(EINVAL);
    }

    /// Sets `members` to those of an alias; false when there is no such alias.
    bool FindMembers(const std::string& alias, std::list<MemberInfo>& members)
    {
        if (upcoming && upcoming->Next() && upcoming->name() == alias) {
            members.swap(upcoming->members());
            return true;
        }
        upcoming.reset();
        const auto entry = table->Find(alias);
        if (!entry) return false;
        const std::vector<MemberInfo> found = table->Members(*entry);
        members.assign(found.begin(), found.end());
        return true;
    }

    /// Adds the aliases of an import file to the table.
    host::Result<void> Import(const std::string& path)
    {
        host::Result<int> count = host::stores::ImportAliasText(path, *table);
        if (!count) {
            host::NoteFailure("aliases: lines are refused");
            return std::move(count).reason().Causing(path, "a list to import");
        }
        host::NoteChange("aliases (" + std::to_string(*count) + " imported)");
        return {};
    }

    /// Empties the object, as after its making.
    void Forget()
    {
        upcoming.reset();
        table.reset();
        refused = false;
    }
};

Alias::Alias() : state_(new State) {}

Alias::~Alias()
{
    delete state_;
}

int Alias::load()
{
    state_->Forget();
    // Heals the account databases after an interrupted switch of the account combination.
    Postfix settings;
    if (settings.LoadSettings() < 0) return -1;

    auto stored = host::stores::ReadAccountDatabase(host::stores::AccountDatabase::kAlias)
                      .Prefixed("aliases: ")
                      .About(host::Subject::List(host::render::kAliasList));
    if (!host::Succeeded(stored)) return -1;
    const auto begin = [&] {
        state_->table.emplace(*std::move(stored));
        state_->table->BeginMoment();
    };
    const host::Result<void> read = host::system::Attempt("aliases", begin)
                                        .About(host::Subject::List(host::render::kAliasList));
    if (host::Succeeded(read)) return 0;
    state_->Forget();
    return -1;
}

int Alias::save()
{
    if (!state_->ok()) return host::Fail(EINVAL);

    state_->upcoming.reset();
    host::stores::AliasTable& table = *state_->table;
    const auto apply = [&table] {
        host::stores::AliasDraft& draft = table.draft();
        return host::save::ApplyAndStore(host::render::kAliasList, "aliases", table.database(),
                                         [&draft] { return draft.Store(); });
    };
    const host::Result<void> done = host::system::Attempt("aliases", apply);
    state_->Forget();
    if (!done) host::NoteFailure(done.reason().text);
    return host::Status(done);
}

std::list<std::string> Alias::getAliasNameList()
{
    if (!state_->table) return {};
    std::list<std::string> names = state_->table->Names();
    state_->upcoming.emplace(state_->table->database());
    return names;
}

int Alias::loadMember(const std::string& alias, std::list<MemberInfo>& members)
{
    if (!state_->table) return host::Fail(ENOENT);
    const auto find = [&]() -> host::Result<bool> { return state_->FindMembers(alias, members); };
    const host::Result<bool> found = host::system::Attempt("aliases", find);
    if (!host::Succeeded(found)) return host::Fail(EIO);
    if (*found) return 0;

    host::NoteReason({host::ReasonCode::kMissing, host::Subject::Setting("aliasname"), ""});
    return host::Fail(ENOENT);
}

int Alias::addMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    return state_->Answer([&] { return state_->table->Add(alias, members); });
}

int Alias::delMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    const auto remove = [&] { return state_->table->Remove(alias, members); };
    host::Result<void> removed = host::system::Attempt("aliases", remove);
    if (removed || removed.reason().code != host::ReasonCode::kMissing) {
        return state_->Take(std::move(removed));
    }
    // Deliberate: removing members of an alias that does not exist is not logged.
    host::NoteReason(removed.reason());
    return host::Fail(ENOENT);
}

int Alias::changeAliasName(const std::string& from, const std::string& to)
{
    return state_->Answer([&] { return state_->table->Rename(from, to); });
}

int Alias::delAlias(const std::list<std::string>& names)
{
    return state_->Answer([&] { state_->table->Delete(names); });
}

int Alias::ExportAlias(const std::string& path)
{
    if (!state_->table) return host::Fail(EINVAL);
    const auto write = [&] {
        const std::string text = host::stores::AliasText(*state_->table);
        state_->upcoming.reset();
        state_->table->EndMoment();  // others may change the aliases while the file is fetched
        return host::names::WriteExport(path, text);
    };
    return host::Status(host::system::Attempt("aliases", write));
}

int Alias::ImportAlias(const std::string& path)
{
    return state_->Answer([&] { return state_->Import(path); });
}
