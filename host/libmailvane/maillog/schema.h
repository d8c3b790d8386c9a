// The mail-log database: its tables, and where it and its older months lie.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/libmailvane/system/database.h"

namespace host::maillog {

/// Folder of the files that the log page lists: the link to the current database, and older months
/// as `2026-10.db`.
std::string MailLogFolder();

/// Folder of the current database itself, where its companions (write-ahead log) lie unlisted.
std::string MailLogLiveFolder();

/// The current database, in the live folder; `maillog.db` in the other one leads to it.
std::string MailLogLivePath();

/// The files that a closed month may have, of the month in which `time` (seconds since the epoch)
/// lies in this machine's time zone: `2026-10.db`, `2026-10-2.db` when that name was taken, and so
/// on.
std::vector<std::string> MonthPaths(std::int64_t time);

/// The mail server's text log, from which the collector fills the database.
constexpr char kPostfixLog[] = "/var/log/mailvane/maillog";

/// The tables, one row of `entry` per message and recipient. Triggers keep the search index, the
/// totals and the number of entries in step with it.
const system::Schema& MailLogSchema();

/// The oldest version that pages can read. Closed months keep the version that they were closed
/// with, so a script that changes what pages read has to leave them readable.
constexpr int kOldestReadableVersion = 2;

/// Date of the latest entry, in seconds since the epoch; 0 without any. One that lies in the
/// future, by a wrong clock, does not count. Throws SQLite::Exception.
std::int64_t LatestDate(SQLite::Database& database);

/// When the log was last cleared, in seconds since the epoch; 0: never. It is known even when the
/// database is lost.
std::int64_t ClearedAt();

/// Length of the periods that the table `totals` counts, in seconds. Every time zone begins its
/// days on such a period.
constexpr int kTotalsPeriod = 900;

/// Opens the database at `path` for changes, with a write-ahead log, so that pages are read while
/// rows arrive. Creates it (mode 0640) and brings it up to date. Throws SQLite::Exception.
SQLite::Database OpenMailLogForChange(const std::string& path);

/// Deletes all entries, their search index and totals, and what of them is left in the free pages
/// of the file. The collector goes on behind what the mail server has logged by now, so that
/// nothing comes back, not even when the database is lost later on. Throws std::exception; no entry
/// is gone then.
void ClearMailLog(SQLite::Database& database);

}  // namespace host::maillog
