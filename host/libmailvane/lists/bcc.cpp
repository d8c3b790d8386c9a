// Automatic blind copies. The rules lie in etc/mailvane.db, the address that gets a copy of all
// mail is always_bcc in etc/mailvane.conf; a change is in force when it returns.
#include "platform/mailvane/bcc.h"

#include <algorithm>
#include <map>

#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/render/plain_lists.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::lists {
namespace {

const char kWhat[] = "blind copies";

int Refuse(const std::string& fault)
{
    Log(LOG_ERR, "%s: refused: %s", kWhat, fault.c_str());
    return -1;
}

/// Puts the stored rules in force. When that fails, `undo` takes the change of the store back.
template <typename Undo>
int PutInForceOr(Undo undo)
{
    if (save::RebuildLists({render::BlindCopyFiles}) == 0) return 0;

    undo();
    (void)save::RebuildLists({render::BlindCopyFiles});
    return -1;
}

int AddRule(BccInfo rule)
{
    std::string fault;
    if (!stores::MakeStored(rule, fault)) return Refuse(fault);

    {
        SQLite::Database store = save::ChangeListStore();
        if (!stores::InsertBcc(store, rule)) return Refuse("there is a rule of this name");
    }
    return PutInForceOr([&rule] {
        SQLite::Database store = save::ChangeListStore();
        (void)stores::RemoveBcc(store, {rule});
    });
}

int RemoveRules(const std::list<BccInfo>& rules)
{
    std::list<BccInfo> removed;
    {
        SQLite::Database store = save::ChangeListStore();
        removed = stores::RemoveBcc(store, rules);
    }
    return PutInForceOr([&removed] {
        SQLite::Database store = save::ChangeListStore();
        stores::ReplaceBcc(store, removed);
    });
}

/// Sets the address that gets a copy of all mail; empty for none.
int SetAlwaysCopy(const std::string& address)
{
    if (!address.empty() && !names::IsMailAddress(address)) {
        return Refuse("the copy goes to what is no address or user");
    }
    const auto found = settings::StoredSettings::Read();
    if (!found || save::HealAccounts(found->Account()) < 0) return -1;

    // Healing may have brought another address back.
    auto settings = settings::StoredSettings::Read();
    if (!settings) return -1;

    settings->SetAlwaysBcc(address);
    return save::SaveTransaction(*settings, {});
}

int DeleteAll(std::list<BccInfo> rules)
{
    const auto isAlways = [](const BccInfo& rule) { return rule.type == BCC_ALWAYS; };
    const auto all = rules.size();
    rules.remove_if(isAlways);
    if (rules.size() != all && SetAlwaysCopy("") < 0) return -1;

    return rules.empty() ? 0 : RemoveRules(rules);
}

/// The rules of a file, each name once. False, logged, when a line is refused.
bool ReadImport(BccType type, const std::string& path, std::list<BccInfo>& rules)
{
    std::map<std::string, std::string> taken;
    return names::ReadListText(path, [&](const std::string& line) -> std::string {
        const auto end = line.find(' ');
        const auto second = line.find_first_not_of(' ', end);
        if (second == std::string::npos) return "is not a name and where its copies go";

        BccInfo rule = {line.substr(0, end), line.substr(second), type};
        std::string fault;
        if (!stores::MakeStored(rule, fault)) return fault;

        const auto [known, isNew] = taken.emplace(rule.name, rule.bccTo);
        if (known->second != rule.bccTo) return "the name stands there with another target";
        if (isNew) rules.push_back(rule);
        return "";
    });
}

/// Runs a change under the lock; negative on failure.
template <typename Change>
int ChangeRules(Change change)
{
    return system::WithoutExceptions(kWhat, [&change] {
        const save::WriteScope scope;
        return scope.ok() ? change() : -1;
    });
}

}  // namespace

}  // namespace host::lists

BCC::BCC() : state_(nullptr) {}

BCC::~BCC() {}

BCC* BCC::getInstance()
{
    static BCC instance;
    const int result = host::system::WithoutExceptions(host::lists::kWhat, [] {
        (void)host::stores::OpenListStore();
        return 0;
    });
    return result < 0 ? nullptr : &instance;
}

int BCC::getTotalBccNum(const Filter& filter)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [&filter] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        return store ? host::stores::CountBcc(*store, filter) : 0;
    });
}

std::list<BccInfo> BCC::getAllBCCList(const Filter& filter)
{
    std::list<BccInfo> rules;
    (void)host::system::WithoutExceptions(host::lists::kWhat, [&filter, &rules] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        if (store) rules = host::stores::PageOfBcc(*store, filter);
        return 0;
    });
    return rules;
}

std::string BCC::getAlwaysBCC()
{
    const auto settings = host::settings::StoredSettings::Read();
    return settings ? settings->AlwaysBcc() : "";
}

int BCC::addBCC(BccType type, const std::string& name, const std::string& bccTo)
{
    return host::lists::ChangeRules([&] {
        return type == BCC_ALWAYS ? host::lists::SetAlwaysCopy(bccTo)
                                  : host::lists::AddRule({name, bccTo, type});
    });
}

int BCC::deleteBCC(const std::list<BccInfo>& rules)
{
    return host::lists::ChangeRules([&rules] { return host::lists::DeleteAll(rules); });
}

int BCC::exportBCC(BccType type, const std::string& path)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [&] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        return host::names::WriteExport(path, store ? host::stores::BccText(*store, type) : "");
    });
}

int BCC::importBCC(BccType type, const std::string& path)
{
    std::list<BccInfo> rules;
    if (!host::lists::ReadImport(type, path, rules)) return -1;

    return host::lists::ChangeRules([&rules] {
        SQLite::Database store = host::save::ChangeListStore();
        host::stores::ReplaceBcc(store, rules);
        return 0;
    });
}

int BCC::GenerateBccMap()
{
    return host::save::RebuildLists({host::render::BlindCopyFiles});
}
