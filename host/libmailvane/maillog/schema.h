// The mail log's database: its tables, and the paths of the current one and older months.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/libmailvane/system/database.h"

namespace host::maillog {

/// The folder that the log page lists: a link to the current database, and older months as
/// `2026-10.db`.
std::string MailLogFolder();

/// The folder of the current database and its SQLite companion files, which the page does not list.
std::string MailLogLiveFolder();

/// The current database. `maillog.db` in `MailLogFolder` is a link to it.
std::string MailLogLivePath();

/// The files that a closed month may have, of the month in which `time` (seconds since the epoch)
/// lies in this machine's time zone: `2026-10.db`, `2026-10-2.db` when that name was taken, and so
/// on.
std::vector<std::string> MonthPaths(std::int64_t time);

/// Postfix's text log.
constexpr char kPostfixLog[] = "/var/log/mailvane/maillog";

/// Whether this machine collects what several machines log, as MAILVANE_MAIL_LOG in the package's
/// defaults file says.
bool ReadsAllMachines();

/// The text log that the collector reads: Postfix's, or the one into which rsyslog writes the lines
/// of all machines.
std::string CollectedLogPath();

/// The tables. `entry` has one row per message and recipient; triggers update the search index, the
/// totals and the number of entries.
const system::Schema& MailLogSchema();

/// The oldest version that pages can read. Closed months keep the version that they were closed
/// with, so a script that changes what pages read has to leave them readable.
constexpr int kOldestReadableVersion = 2;

/// The first version with the table `counts`.
constexpr int kVersionWithCounts = 4;

/// Date of the latest entry, in seconds since the epoch; 0 without any. One that lies in the
/// future, by a wrong clock, does not count. Throws SQLite::Exception.
std::int64_t LatestDate(SQLite::Database& database);

/// When the log was last cleared, in seconds since the epoch; 0: never. It is known even when the
/// database is lost.
std::int64_t ClearedAt();

/// Length in seconds of the periods in the table `totals`: a quarter of an hour, so that the days
/// of every time zone begin with a period.
constexpr int kTotalsPeriod = 900;

/// Opens the database at `path` for changes, with a write-ahead log, so that pages can be read at
/// the same time. Creates it (mode 0640) and brings it up to date. Fails for a later version.
/// Throws SQLite::Exception.
Result<SQLite::Database> OpenMailLogForChange(const std::string& path);

/// Deletes all entries, their search index and totals, and erases their bytes from the file. The
/// collector skips what is in the log by now, even when the database is lost later on. Fails while
/// the month is being closed, with no entry deleted. Throws SQLite::Exception.
Result<void> ClearMailLog(SQLite::Database& database);

}  // namespace host::maillog
