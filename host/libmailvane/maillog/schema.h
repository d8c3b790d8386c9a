// The mail-log database: its tables, and where it and its older months lie.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "host/libmailvane/system/database.h"

namespace host::maillog {

/// Folder of the files that the log page lists: the link to the current database, and older months
/// as `2026-10.db`.
std::string MailLogFolder();

/// Folder of the current database itself, where its companions (write-ahead log) lie unlisted.
std::string MailLogLiveFolder();

/// The current database, in the live folder; `maillog.db` in the other one leads to it.
std::string MailLogLivePath();

/// The mail server's text log, from which the collector fills the database.
constexpr char kPostfixLog[] = "/var/log/mailvane/maillog";

/// The tables, one row of `entry` per message and recipient. Triggers keep the search index, the
/// totals and the number of entries in step with it.
const system::Schema& MailLogSchema();

/// Length of the periods that the table `totals` counts, in seconds. Every time zone begins its
/// days on such a period.
constexpr int kTotalsPeriod = 900;

/// Opens the database at `path` for changes, with a write-ahead log, so that pages are read while
/// rows arrive. Creates it (mode 0640) and brings it up to date. Fails for one of a later version.
/// Throws SQLite::Exception.
Result<SQLite::Database> OpenMailLogForChange(const std::string& path);

/// Deletes all entries, their search index and totals, and what of them is left in the free pages
/// of the file. The collector goes on behind what the mail server has logged by now, so that
/// nothing comes back. Fails while the month is being closed; nothing has changed then. Throws
/// SQLite::Exception.
Result<void> ClearMailLog(SQLite::Database& database);

}  // namespace host::maillog
