// The sender quotas: table `sender_quota` of etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <optional>
#include <string>
#include <vector>

namespace host::stores {

/// The SQL script that creates the table. Logins are compared without case.
constexpr char kSenderQuotaTable[] =
    "CREATE TABLE sender_quota (login TEXT PRIMARY KEY COLLATE NOCASE, quota INTEGER NOT NULL) "
    "WITHOUT ROWID";

/// A limit to set, or one to remove.
struct QuotaChange {
    std::string login;
    std::optional<unsigned int> quota;
};

/// All limits, in order of the logins. Throws SQLite::Exception.
std::vector<QuotaChange> QuotasIn(SQLite::Database& store);

/// Makes changes one after the other, in the caller's transaction. Throws SQLite::Exception.
void ChangeQuotas(SQLite::Database& store, const std::vector<QuotaChange>& changes);

}  // namespace host::stores
