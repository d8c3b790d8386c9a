// The mail log's database: its tables, and the paths of the current one and older months.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "host/libmailvane/system/database.h"

namespace host::maillog {

/// The folder that the log page lists: a link to the current database, and older months as
/// `2026-10.db`.
std::string MailLogFolder();

/// The folder of the current database and its SQLite companion files, which the page does not list.
std::string MailLogLiveFolder();

/// The current database. `maillog.db` in `MailLogFolder` is a link to it.
std::string MailLogLivePath();

/// Postfix's text log, which the collector reads.
constexpr char kPostfixLog[] = "/var/log/mailvane/maillog";

/// The tables. `entry` has one row per message and recipient; triggers update the search index, the
/// totals and the number of entries.
const system::Schema& MailLogSchema();

/// Length in seconds of the periods in the table `totals`: a quarter of an hour, so that the days
/// of every time zone begin with a period.
constexpr int kTotalsPeriod = 900;

/// Opens the database at `path` for changes, with a write-ahead log, so that pages can be read at
/// the same time. Creates it (mode 0640) and brings it up to date. Fails for a later version.
/// Throws SQLite::Exception.
Result<SQLite::Database> OpenMailLogForChange(const std::string& path);

/// Deletes all entries, their search index and totals, and erases their bytes from the file. The
/// collector skips what is in the log by now. Fails while the month is being closed, with nothing
/// changed. Throws SQLite::Exception.
Result<void> ClearMailLog(SQLite::Database& database);

}  // namespace host::maillog
