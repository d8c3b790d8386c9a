// The table of the sender quotas.
#pragma once

namespace host::stores {

/// The SQL script that creates the table. Logins are compared without case.
constexpr char kSenderQuotaTable[] =
    "CREATE TABLE sender_quota (login TEXT PRIMARY KEY COLLATE NOCASE, quota INTEGER NOT NULL) "
    "WITHOUT ROWID";

}  // namespace host::stores
