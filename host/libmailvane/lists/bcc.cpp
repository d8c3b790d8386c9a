// Automatic blind carbon copies. The rules are in etc/mailvane.db; the address that gets a copy of
// all mail is always_bcc in etc/mailvane.conf. A change is in force when the call returns.
#include "platform/mailvane/bcc.h"

#include "host/libmailvane/lists/rule_pages.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/database.h"

namespace host::lists {
namespace {

constexpr RulePages kPages(render::kCopyList, "blind copies");

Result<void> AddRule(const BccInfo& rule)
{
    Result<stores::Rule> stored = kPages.Refused(stores::StoredRule(rule));
    if (!stored) return std::move(stored).reason();
    return kPages.StoreAndApply(kPages.Adding(*std::move(stored)));
}

Result<void> Import(BccType type, const std::string& path)
{
    return kPages.StoreAndApply(kPages.Importing(type, path, true));
}

/// Sets always_bcc, the address that gets a copy of all mail; empty for none.
Result<void> SetAlwaysCopy(const std::string& address)
{
    Result<std::string> target = address;
    if (!address.empty()) target = kPages.Refused(stores::StoredCopyTarget(address));
    if (!target) return std::move(target).reason();
    Result<settings::StoredSettings> found = settings::StoredSettings::Read();
    if (!found) return std::move(found).reason();
    Result<void> healed = save::HealAccounts(found->Account());
    if (!healed) return healed;

    // Read after healing, which may have put back another always_bcc.
    Result<settings::StoredSettings> settings = settings::StoredSettings::Read();
    if (!settings) return std::move(settings).reason();

    settings->SetAlwaysBcc(*target);
    return save::SaveTransaction(*settings, {});
}

/// Deletes rules, and the address that gets a copy of all mail with them.
Result<void> Delete(const std::list<BccInfo>& rules)
{
    stores::Rules keys;
    for (const BccInfo& rule : rules) {
        if (rule.type != BCC_ALWAYS) keys.push_back(stores::KeyOf(rule));
    }
    const bool hasAlways = keys.size() != rules.size();
    if (keys.empty()) return hasAlways ? SetAlwaysCopy("") : Result<void>();

    const save::ListChange removing = kPages.Removing(std::move(keys));
    if (!hasAlways) return kPages.StoreAndApply(removing);
    return kPages.StoreAndApply(
        removing, [](settings::StoredSettings& settings) { settings.SetAlwaysBcc(""); });
}

/// Runs a change under the request lock.
template <typename Change>
Result<void> ChangeRules(Change change)
{
    const auto changeWithLock = [&change] {
        const save::WriteScope scope;
        return scope.ready() ? change() : scope.ready();
    };
    return system::Attempt(kPages.what(), changeWithLock).About(Subject::List(render::kCopyList));
}

}  // namespace
}  // namespace host::lists

using host::lists::kPages;

BCC::BCC() : state_(nullptr) {}

BCC::~BCC() {}

BCC* BCC::getInstance()
{
    static BCC instance;
    return kPages.CanBeRead() ? &instance : nullptr;
}

int BCC::getTotalBccNum(const Filter& filter)
{
    return kPages.Count(host::stores::SearchOf(kPages.rules(), filter));
}

std::list<BccInfo> BCC::getAllBCCList(const Filter& filter)
{
    const auto search = host::stores::SearchOf(kPages.rules(), filter);
    return host::stores::BccEntries(kPages.Page(search));
}

std::string BCC::getAlwaysBCC()
{
    const auto settings = host::settings::StoredSettings::Read();
    return host::Succeeded(settings) ? settings->AlwaysBcc() : "";
}

int BCC::addBCC(BccType type, const std::string& name, const std::string& bccTo)
{
    return host::Status(host::lists::ChangeRules([&] {
        return type == BCC_ALWAYS ? host::lists::SetAlwaysCopy(bccTo)
                                  : host::lists::AddRule({name, bccTo, type});
    }));
}

int BCC::deleteBCC(const std::list<BccInfo>& rules)
{
    return host::Status(host::lists::ChangeRules([&rules] { return host::lists::Delete(rules); }));
}

int BCC::exportBCC(BccType type, const std::string& path)
{
    return kPages.Export(path, [type](SQLite::Database& store) {
        return host::stores::RulesText(store, kPages.rules(), type);
    });
}

int BCC::importBCC(BccType type, const std::string& path)
{
    return kPages.Told(host::lists::Import(type, path));
}

int BCC::GenerateBccMap()
{
    return host::Status(host::save::ApplyLists({&host::render::kCopyList}));
}
