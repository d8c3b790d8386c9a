// Validation of account databases before a restore.
#include "host/libmailvane/stores/account_data_check.h"

#include <limits>
#include <vector>

#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/alias_table.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::stores {
namespace {

Reason Altered(const std::string& what)
{
    return {ReasonCode::kRefused, what, what + " is not as it was stored"};
}

/// Adds all aliases to an empty table, which refuses what the page would refuse. Names go first,
/// since aliases may be members of others.
Result<void> CheckAliases(SQLite::Database& database)
{
    AliasTable table;
    const SQLite::Transaction together(table.database());
    Result<void> taken = EachAlias(
        database, [&table](const AliasEntry& alias) { return table.Add(alias.name, {}); });
    if (!taken) return taken;

    AliasFinder members(database);
    return EachAlias(database, [&](const AliasEntry& alias) {
        const std::vector<MemberInfo> all = members.Members(alias.id);
        return table.Add(alias.name, {all.begin(), all.end()});
    });
}

bool Same(const Rule& left, const Rule& right)
{
    return left.type == right.type && left.name == right.name && left.nameType == right.nameType &&
           left.value == right.value;
}

/// Refuses rules that would be stored in another form; `entriesOf` gives them as a page has them.
template <typename Entries>
Result<void> CheckRules(SQLite::Database& store, const RuleList& list, const Entries& entriesOf)
{
    RuleSearch all;
    all.limit = std::numeric_limits<int>::max();
    for (const Rule& rule : PageOfRules(store, list, all)) {
        const Result<Rule> stored = StoredRule(entriesOf({rule}).front());
        if (!stored) return stored.reason();
        if (!Same(*stored, rule)) return Altered(rule.name);
    }
    return {};
}

Result<void> CheckQuotas(SQLite::Database& store)
{
    SQLite::Statement rows(store, "SELECT login, quota FROM sender_quota");
    while (rows.executeStep()) {
        const std::int64_t quota = rows.getColumn(1).getInt64();
        if (!names::IsLogin(rows.getColumn(0).getString()) || quota < 0 ||
            quota > std::numeric_limits<unsigned int>::max()) {
            return Altered("sender_quota");
        }
    }
    return {};
}

Result<void> CheckLists(SQLite::Database& store)
{
    Result<void> checked = CheckRules(store, kAccessRules, AccessEntries);
    if (checked) checked = CheckRules(store, kBccRules, BccEntries);
    if (checked) checked = CheckRules(store, kBlackWhiteRules, BlackWhiteEntries);
    return checked ? CheckQuotas(store) : checked;
}

}  // namespace

Result<void> CheckAccountDatabase(AccountDatabase which, const std::string& path)
{
    const system::Schema& schema = StoreOf(which).schema;
    if (!system::NameExists(path)) return Reason{ReasonCode::kMissing, path, path + " is missing"};
    auto database = system::OpenForReading(path, schema);
    if (!database) return std::move(database).reason();

    const Result<bool> isOriginal = system::IsMadeBy(*database, schema);
    if (!isOriginal) return isOriginal.reason();
    if (!*isOriginal) return Altered(path);
    return which == AccountDatabase::kAlias ? CheckAliases(*database) : CheckLists(*database);
}

}  // namespace host::stores
