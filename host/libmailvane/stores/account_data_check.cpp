// Validation of account databases before a restore.
#include "host/libmailvane/stores/account_data_check.h"

#include <limits>

#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::stores {
namespace {

constexpr int kAll = std::numeric_limits<int>::max();

Reason Altered(const std::string& what)
{
    return {ReasonCode::kRefused, what, what + " is not as it was stored"};
}

/// Adds all aliases to an empty table, which refuses what the page would refuse. Names go first,
/// since aliases may be members of others.
Result<void> CheckAliases(SQLite::Database& database)
{
    const AliasEntries entries = AliasesIn(database);
    AliasTable table;
    Result<void> taken;
    for (const AliasEntry& entry : entries) {
        if (taken) taken = table.Add(entry.name, {});
    }
    for (const AliasEntry& entry : entries) {
        if (taken) taken = table.Add(entry.name, {entry.members.begin(), entry.members.end()});
    }
    return taken;
}

bool Same(const AccessInfo& left, const AccessInfo& right)
{
    return left.name == right.name;
}

bool Same(const BccInfo& left, const BccInfo& right)
{
    return left.name == right.name && left.bccTo == right.bccTo;
}

bool Same(const BlackWhite& left, const BlackWhite& right)
{
    return left.name == right.name && left.blackWhite == right.blackWhite;
}

/// Refuses entries that would be stored in another form, and rows of `table` beyond `entries`.
template <typename Entries>
Result<void> CheckEntries(SQLite::Database& store, const char* table, const Entries& entries)
{
    for (const auto& entry : entries) {
        const auto stored = MakeStored(entry);
        if (!stored) return stored.reason();
        if (!Same(*stored, entry)) return Altered(entry.name);
    }
    const auto count = store.execAndGet(std::string("SELECT count(*) FROM ") + table).getInt64();
    if (count != static_cast<std::int64_t>(entries.size())) return Altered(table);
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
    Filter filter;
    BlackWhiteFilter blackWhite;
    filter.limit = blackWhite.limit = kAll;
    Result<void> checked = CheckEntries(store, "access", PageOfAccess(store, filter));
    if (checked) checked = CheckEntries(store, "bcc", PageOfBcc(store, filter));
    if (checked) checked = CheckEntries(store, "black_white", PageOfBlackWhite(store, blackWhite));
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
