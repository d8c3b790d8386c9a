// The sender quotas: table `sender_quota` of etc/mailvane.db.
#include "platform/mailvane/sender_quota.h"

#include <SQLiteCpp/VariadicBind.h>

#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/render/plain_lists.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/list_store.h"
#include "host/libmailvane/stores/sender_quota_table.h"

namespace host::lists {
namespace {

const char kWhat[] = "sender quotas";

Result<void> SetQuota(const std::string& login, unsigned int quota)
{
    if (!names::IsLogin(login)) {
        return Reason{ReasonCode::kRefused, login,
                      "sender quotas: refused: what is limited is no login"};
    }
    return save::ChangeLists(kWhat, [&](SQLite::Database& store) {
        SQLite::Statement set(store, "INSERT OR REPLACE INTO sender_quota VALUES (?, ?)");
        SQLite::bind(set, login, static_cast<std::int64_t>(quota));
        (void)set.exec();
    });
}

Result<void> DeleteQuotas(const std::list<std::string>& logins)
{
    return save::ChangeLists(kWhat, [&logins](SQLite::Database& store) {
        SQLite::Transaction transaction(store);
        SQLite::Statement remove(store, "DELETE FROM sender_quota WHERE login = ?");
        for (const std::string& login : logins) {
            remove.bind(1, login);
            (void)remove.exec();
            remove.reset();
        }
        transaction.commit();
    });
}

int Page(SQLite::Database& store, std::list<SenderQuota::Setting>& settings, unsigned int start,
         unsigned int limit)
{
    SQLite::Statement page(store, "SELECT login, quota FROM sender_quota ORDER BY login" +
                                      std::string(stores::kOnePage));
    page.bind(":limit", static_cast<std::int64_t>(limit));
    page.bind(":start", static_cast<std::int64_t>(start));
    while (page.executeStep()) {
        settings.push_back({page.getColumn(0).getString(), page.getColumn(1).getUInt()});
    }
    return store.execAndGet("SELECT count(*) FROM sender_quota").getInt();
}

}  // namespace

}  // namespace host::lists

int SenderQuota::GetSettingList(std::list<Setting>& settings, unsigned int start,
                                unsigned int limit)
{
    settings.clear();
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::lists::Page(store, settings, start, limit);
    }));
}

int SenderQuota::Set(const std::string& saslSender, unsigned int quota)
{
    return host::Status(host::lists::SetQuota(saslSender, quota));
}

int SenderQuota::DeleteList(const std::list<std::string>& saslSenders)
{
    return host::Status(host::lists::DeleteQuotas(saslSenders));
}

int SenderQuota::GenerateConfig()
{
    return host::Status(host::save::RebuildLists({host::render::QuotaFiles}));
}
