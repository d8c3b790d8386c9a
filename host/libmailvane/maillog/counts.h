// How many entries the mail log has of a status and a time, by the counts of each hour.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>

namespace host::maillog {

/// A status and bounds of time, as in `LogFilter`.
struct LogFrame {
    int status = -1;
    std::int64_t from = 0;
    std::int64_t to = 0;
};

/// The number of entries within the frame, in a database that has counts. Throws SQLite::Exception.
std::int64_t CountIn(SQLite::Database& database, const LogFrame& frame);

}  // namespace host::maillog
