// The two databases kept per account combination: etc/alias.db and etc/mailvane.db.
#include "host/libmailvane/stores/account_databases.h"

#include <filesystem>

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/account_record.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/stores/sender_quota_table.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::stores {
namespace {

// A new table is added as a further script.
constexpr const char* kAliasScripts[] = {kAccountTable, kAliasTables};
constexpr const char* kMailvaneScripts[] = {kAccountTable, kAccessTable, kBccTable,
                                            kSenderQuotaTable, kBlackWhiteTable};

constexpr AccountStore kAlias = {"etc/alias.db", "", system::Schema(kAliasScripts)};
constexpr AccountStore kMailvane = {"etc/mailvane.db", "_mailvane",
                                    system::Schema(kMailvaneScripts)};

std::string CopyIn(const std::string& folder, AccountDatabase which)
{
    return folder + "/" + std::filesystem::path(StoreOf(which).live).filename().string();
}

Reason Missing(const std::string& path)
{
    return {ReasonCode::kMissing, path, path + " is missing"};
}

}  // namespace

const AccountStore& StoreOf(AccountDatabase which)
{
    return which == AccountDatabase::kAlias ? kAlias : kMailvane;
}

Result<SQLite::Database> ReadAccountDatabase(AccountDatabase which)
{
    const AccountStore& store = StoreOf(which);
    const std::string path = PackagePath(store.live);
    const bool isThere = system::NameExists(path) || generation::SwitchIsMarked();
    return isThere ? system::OpenForReading(path, store.schema) : Missing(path);
}

Result<SQLite::Database> ChangeAccountDatabase(AccountDatabase which)
{
    return ChangeCopy(which, PackagePath("etc"));
}

Result<SQLite::Database> ReadCopy(AccountDatabase which, const std::string& folder)
{
    const std::string path = CopyIn(folder, which);
    if (!system::NameExists(path)) return Missing(path);
    return system::OpenForReading(path, StoreOf(which).schema);
}

Result<SQLite::Database> ChangeCopy(AccountDatabase which, const std::string& folder)
{
    const std::string path = CopyIn(folder, which);
    if (!system::NameExists(path)) return Missing(path);
    return system::OpenForChange(path, StoreOf(which).schema);
}

}  // namespace host::stores
