// The table of the sender quotas.
#pragma once

namespace host::stores {

/// The script that makes it. Logins differ in more than the case of letters.
constexpr char kSenderQuotaTable[] =
    "CREATE TABLE sender_quota (login TEXT PRIMARY KEY COLLATE NOCASE, quota INTEGER NOT NULL) "
    "WITHOUT ROWID";

}  // namespace host::stores
