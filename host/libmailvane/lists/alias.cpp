// The platform's alias table. Stored in etc/alias.db.
#include "platform/mailvane/alias.h"

#include <cerrno>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/error.h"
#include "host/libhaldcore/noted_reasons.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/stores/alias_text.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/postfix.h"

struct Alias::State {
    host::stores::AliasTable table;
    bool loaded = false;
    bool refused = false;  ///< a change was refused; the store is not written then

    /// Whether the table was loaded and no change refused.
    bool ok() const { return loaded && !refused; }

    /// The result of a change: 0, or negative after logging the refusal and marking the object.
    int Answer(host::Result<void> change)
    {
        if (host::Succeeded(std::move(change).Prefixed("aliases: refused "))) return 0;

        refused = true;
        return host::Fail(EINVAL);
    }

    /// Adds the aliases of an import file to the table.
    host::Result<void> Import(const std::string& path)
    {
        auto aliases = host::stores::ReadAliasText(path, table);
        if (!aliases) {
            host::NoteFailure("aliases: lines are refused");
            return std::move(aliases).reason().Causing(path, "a list to import");
        }
        host::NoteChange("aliases (" + std::to_string(aliases->size()) + " imported)");
        table.Replace(*std::move(aliases));
        return {};
    }
};

Alias::Alias() : state_(new State) {}

Alias::~Alias()
{
    delete state_;
}

int Alias::load()
{
    *state_ = State();
    // Heals the account databases after an interrupted switch of the account combination.
    Postfix settings;
    if (settings.LoadSettings() < 0) return -1;

    auto entries = host::stores::ReadAliases().About(host::Subject::List(host::render::kAliasList));
    if (!host::Succeeded(entries)) return -1;

    state_->table = host::stores::AliasTable(*std::move(entries));
    state_->loaded = true;
    return 0;
}

int Alias::save()
{
    if (!state_->ok()) return host::Fail(EINVAL);

    const host::Result<void> done = host::save::StoreAndApply(
        host::render::kAliasList, "aliases", [this](SQLite::Database& store) {
            host::stores::ChangeAliases(store, state_->table.Pending());
            // The maps are made from the store: a long table is not to be in memory twice.
            *state_ = State();
            return host::Result<void>();
        });
    *state_ = State();
    if (!done) host::NoteFailure(done.reason().text);
    return host::Status(done);
}

std::list<std::string> Alias::getAliasNameList()
{
    std::list<std::string> names;
    for (const host::stores::AliasEntry& entry : state_->table.entries())
        names.push_back(entry.name);
    return names;
}

int Alias::loadMember(const std::string& alias, std::list<MemberInfo>& members)
{
    const host::stores::AliasEntry* entry = state_->table.Find(alias);
    if (entry == nullptr) {
        host::NoteReason({host::ReasonCode::kMissing, host::Subject::Setting("aliasname"), ""});
        return host::Fail(ENOENT);
    }

    members.assign(entry->members.begin(), entry->members.end());
    return 0;
}

int Alias::addMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    return state_->ok() ? state_->Answer(state_->table.Add(alias, members)) : host::Fail(EINVAL);
}

int Alias::delMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    // Deliberate: removing members of an alias that does not exist is not logged.
    const host::Result<void> removed = state_->table.Remove(alias, members);
    if (removed) return 0;
    host::NoteReason(removed.reason());
    return host::Fail(ENOENT);
}

int Alias::changeAliasName(const std::string& from, const std::string& to)
{
    return state_->ok() ? state_->Answer(state_->table.Rename(from, to)) : host::Fail(EINVAL);
}

int Alias::delAlias(const std::list<std::string>& names)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    state_->table.Delete(names);
    return 0;
}

int Alias::ExportAlias(const std::string& path)
{
    if (!state_->loaded) return host::Fail(EINVAL);
    return host::Status(host::names::WriteExport(path, host::stores::AliasText(state_->table)));
}

int Alias::ImportAlias(const std::string& path)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    return state_->Answer(state_->Import(path));
}
