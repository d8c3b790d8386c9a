// The two databases kept per account combination: etc/alias.db and etc/mailvane.db.
#include "host/libmailvane/stores/account_databases.h"

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

}  // namespace

const AccountStore& StoreOf(AccountDatabase which)
{
    return which == AccountDatabase::kAlias ? kAlias : kMailvane;
}

Result<SQLite::Database> ReadAccountDatabase(AccountDatabase which)
{
    const AccountStore& store = StoreOf(which);
    const std::string path = PackagePath(store.live);
    if (!system::NameExists(path) && !generation::SwitchIsMarked()) {
        return Reason{ReasonCode::kMissing, path, path + " is missing"};
    }
    return system::OpenForReading(path, store.schema);
}

Result<SQLite::Database> ChangeAccountDatabase(AccountDatabase which)
{
    const AccountStore& store = StoreOf(which);
    const std::string path = PackagePath(store.live);
    if (!system::NameExists(path)) {
        return Reason{ReasonCode::kMissing, path, path + " is missing"};
    }
    return system::OpenForChange(path, store.schema);
}

}  // namespace host::stores
