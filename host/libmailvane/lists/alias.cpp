// The alias table of the platform, kept in etc/alias.db.
#include "platform/mailvane/alias.h"

#include <cerrno>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/log.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/render/alias_maps.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/stores/alias_text.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/postfix.h"

struct Alias::State {
    host::stores::AliasTable table;
    bool loaded = false;
    bool refused = false;  ///< a change could not be made: none is stored

    /// Whether the object can be worked with.
    bool ok() const { return loaded && !refused; }

    /// Marks the object unless nothing is wrong. 0, or negative with the reason logged.
    int Judge(const std::string& fault)
    {
        if (fault.empty()) return 0;

        refused = true;
        host::Log(LOG_ERR, "aliases: refused %s", fault.c_str());
        return host::Fail(EINVAL);
    }
};

namespace {

/// Puts the table in force, then stores it: an account engine or a mail server that does not answer
/// is met before anything is stored.
int PutInForce(host::stores::AliasTable& table)
{
    if (host::save::RebuildLists({[&table] { return host::render::AliasFilesOf(table); }}) < 0) {
        (void)host::save::RebuildLists({host::render::AliasFiles});
        return -1;
    }
    const auto store = [&table] {
        host::stores::ChangeAliases(table.Pending());
        table.Stored();
        return 0;
    };
    if (host::system::WithoutExceptions("aliases", store) == 0) return 0;

    (void)host::save::RebuildLists({host::render::AliasFiles});
    return -1;
}

}  // namespace

Alias::Alias() : state_(new State) {}

Alias::~Alias()
{
    delete state_;
}

int Alias::load()
{
    return host::system::WithoutExceptions("aliases", [this] {
        *state_ = State();
        // Makes the table that of the accounts which are served, after a switch that was broken
        // off.
        Postfix settings;
        if (settings.LoadSettings() < 0) return -1;

        state_->table = host::stores::AliasTable(host::stores::ReadAliases());
        state_->loaded = true;
        return 0;
    });
}

int Alias::save()
{
    if (!state_->ok()) return host::Fail(EINVAL);

    return host::system::WithoutExceptions("aliases", [this] {
        const host::save::WriteScope scope;
        return scope.ok() ? PutInForce(state_->table) : -1;
    });
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
    if (entry == nullptr) return host::Fail(ENOENT);

    members.assign(entry->members.begin(), entry->members.end());
    return 0;
}

int Alias::addMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    return state_->ok() ? state_->Judge(state_->table.Add(alias, members)) : host::Fail(EINVAL);
}

int Alias::delMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    return state_->table.Remove(alias, members) ? 0 : host::Fail(ENOENT);
}

int Alias::changeAliasName(const std::string& from, const std::string& to)
{
    return state_->ok() ? state_->Judge(state_->table.Rename(from, to)) : host::Fail(EINVAL);
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
    return host::names::WriteExport(path, host::stores::AliasText(state_->table));
}

int Alias::ImportAlias(const std::string& path)
{
    if (!state_->ok()) return host::Fail(EINVAL);
    return host::system::WithoutExceptions("aliases", [this, &path] {
        std::vector<host::stores::AliasEntry> aliases;
        if (!host::stores::ReadAliasText(path, state_->table, aliases)) {
            return state_->Judge("a list to import");
        }
        state_->table.Replace(aliases);
        return 0;
    });
}
