// Automatic blind carbon copies. The rules are in etc/mailvane.db; the address that gets a copy of
// all mail is always_bcc in etc/mailvane.conf. A change is in force when the call returns.
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
const char kRefused[] = "blind copies: refused: ";

/// Changes the store and closes it.
template <typename Change>
Result<void> ChangeStore(Change change)
{
    return save::ChangeLists(kWhat, change);
}

/// Activates the stored rules. On failure runs `undo` on the store and rebuilds the maps from it.
template <typename Undo>
Result<void> ActivateOr(Undo undo)
{
    Result<void> done = save::RebuildLists({render::BccFiles});
    if (done) return done;

    // Logged only: the caller returns the first reason.
    if (Succeeded(ChangeStore(undo))) {
        (void)Succeeded(save::RebuildLists({render::BccFiles}));
    }
    return done;
}

Result<void> AddRule(const BccInfo& rule)
{
    Result<BccInfo> stored = stores::MakeStored(rule).Prefixed(kRefused);
    if (!stored) return std::move(stored).reason();

    Result<void> inserted = ChangeStore([&stored](SQLite::Database& store) {
        return stores::InsertBcc(store, *stored).Prefixed(kRefused);
    });
    if (!inserted) return inserted;
    return ActivateOr(
        [&stored](SQLite::Database& store) { (void)stores::RemoveBcc(store, {*stored}); });
}

Result<void> RemoveRules(const std::list<BccInfo>& rules)
{
    std::list<BccInfo> removed;
    Result<void> done =
        ChangeStore([&](SQLite::Database& store) { removed = stores::RemoveBcc(store, rules); });
    if (!done) return done;
    return ActivateOr([&removed](SQLite::Database& store) { stores::MergeBcc(store, removed); });
}

/// Sets always_bcc, the address that gets a copy of all mail; empty for none.
Result<void> SetAlwaysCopy(const std::string& address)
{
    if (!address.empty()) {
        Result<void> target = stores::CheckCopyTarget(address).Prefixed(kRefused);
        if (!target) return target;
    }
    Result<settings::StoredSettings> found = settings::StoredSettings::Read();
    if (!found) return std::move(found).reason();
    Result<void> healed = save::HealAccounts(found->Account());
    if (!healed) return healed;

    // Read after healing, which may have put back another always_bcc.
    Result<settings::StoredSettings> settings = settings::StoredSettings::Read();
    if (!settings) return std::move(settings).reason();

    settings->SetAlwaysBcc(address);
    return save::SaveTransaction(*settings, {});
}

Result<void> DeleteAll(std::list<BccInfo> rules)
{
    const auto isAlways = [](const BccInfo& rule) { return rule.type == BCC_ALWAYS; };
    const auto all = rules.size();
    rules.remove_if(isAlways);
    if (rules.size() != all) {
        Result<void> cleared = SetAlwaysCopy("");
        if (!cleared) return cleared;
    }
    return rules.empty() ? Result<void>() : RemoveRules(rules);
}

/// Parses a line, `name target`; the rule has the stored spelling.
Result<BccInfo> ParseRule(const std::string& line, BccType type)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    if (second == std::string::npos) {
        return Reason{ReasonCode::kRefused, line, "is not a name and where its copies go"};
    }
    return stores::MakeStored({line.substr(0, end), line.substr(second), type});
}

/// Reads the rules of an import file, each name once. Refused for a name with two targets.
Result<std::list<BccInfo>> ReadImport(BccType type, const std::string& path)
{
    std::list<BccInfo> rules;
    std::map<std::string, std::string> taken;
    Result<void> read = names::ReadListText(path, [&](const std::string& line) -> Result<void> {
        Result<BccInfo> rule = ParseRule(line, type);
        if (!rule) return std::move(rule).reason();

        const auto [known, isNew] = taken.emplace(rule->name, rule->bccTo);
        if (known->second != rule->bccTo) {
            return Reason{ReasonCode::kTaken, rule->name,
                          "the name stands there with another target"};
        }
        if (isNew) rules.push_back(*rule);
        return {};
    });
    if (!read) return std::move(read).reason();
    return rules;
}

Result<void> Import(BccType type, const std::string& path)
{
    Result<std::list<BccInfo>> rules = ReadImport(type, path);
    if (!rules) return std::move(rules).reason();

    return save::ChangeLists(
        kWhat, [&rules](SQLite::Database& store) { stores::MergeBcc(store, *rules); });
}

/// Runs a change under the request lock.
template <typename Change>
Result<void> ChangeRules(Change change)
{
    return system::Attempt(kWhat, [&change] {
        const save::WriteScope scope;
        return scope.ready() ? change() : scope.ready();
    });
}

}  // namespace

}  // namespace host::lists

BCC::BCC() : state_(nullptr) {}

BCC::~BCC() {}

BCC* BCC::getInstance()
{
    static BCC instance;
    const host::Result<void> opened =
        host::stores::ReadLists(host::lists::kWhat, [](SQLite::Database& /*store*/) {});
    return host::Succeeded(opened) ? &instance : nullptr;
}

int BCC::getTotalBccNum(const Filter& filter)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::CountBcc(store, filter);
    }));
}

std::list<BccInfo> BCC::getAllBCCList(const Filter& filter)
{
    auto page = host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::PageOfBcc(store, filter);
    });
    return host::Succeeded(page) ? *std::move(page) : std::list<BccInfo>();
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
    return host::Status(
        host::lists::ChangeRules([&rules] { return host::lists::DeleteAll(rules); }));
}

int BCC::exportBCC(BccType type, const std::string& path)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::names::WriteExport(path, host::stores::BccText(store, type));
    }));
}

int BCC::importBCC(BccType type, const std::string& path)
{
    return host::Status(host::lists::Import(type, path));
}

int BCC::GenerateBccMap()
{
    return host::Status(host::save::RebuildLists({host::render::BccFiles}));
}
