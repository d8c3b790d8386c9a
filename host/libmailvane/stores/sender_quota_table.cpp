// How much each login may send.
#include "host/libmailvane/stores/sender_quota_table.h"

#include <cstdint>

namespace host::stores {

std::vector<QuotaChange> QuotasIn(SQLite::Database& store)
{
    std::vector<QuotaChange> quotas;
    SQLite::Statement rows(store, "SELECT login, quota FROM sender_quota ORDER BY login");
    while (rows.executeStep()) {
        quotas.push_back({rows.getColumn(0).getString(), rows.getColumn(1).getUInt()});
    }
    return quotas;
}

void ChangeQuotas(SQLite::Database& store, const std::vector<QuotaChange>& changes)
{
    SQLite::Statement set(store, "INSERT OR REPLACE INTO sender_quota VALUES (?, ?)");
    SQLite::Statement remove(store, "DELETE FROM sender_quota WHERE login = ?");
    for (const QuotaChange& change : changes) {
        SQLite::Statement& statement = change.quota ? set : remove;
        statement.reset();
        statement.bind(1, change.login);
        if (change.quota) statement.bind(2, static_cast<std::int64_t>(*change.quota));
        (void)statement.exec();
    }
}

}  // namespace host::stores
