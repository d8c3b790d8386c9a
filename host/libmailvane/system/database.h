// SQLite stores of the service library. Each is opened for one operation and closed after it, and
// keeps a rollback journal: no companion file outlives an operation, so a store can be moved.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <exception>
#include <optional>
#include <string>

#include "host/libhaldcore/log.h"

namespace host::system {

/// The scripts that brought a store to its present form, oldest first. Script N turns version N - 1
/// into version N; a script that has been delivered never changes.
struct Schema {
    template <size_t Count>
    constexpr explicit Schema(const char* const (&list)[Count])
        : scripts(list), version(static_cast<int>(Count))
    {
    }

    const char* const* scripts;
    int version;
};

/// Runs the scripts that an open store lacks, all or none. Throws SQLite::Exception, and
/// std::runtime_error for a store of a later version.
void BringUpToDate(SQLite::Database& database, const Schema& schema);

/// Opens a store for changes, creating it (mode 0600) and bringing it to the newest version as
/// needed. Throws SQLite::Exception, and std::runtime_error for a store of a later version.
SQLite::Database OpenForChange(const std::string& path, const Schema& schema);

/// Opens a store for reading; nothing when there is none. An older version is brought up to date
/// first. Throws as `OpenForChange`.
std::optional<SQLite::Database> OpenForReading(const std::string& path, const Schema& schema);

/// Opens whatever database lies at `path` for reading; nothing when there is none. What a killed
/// writer left unfinished is rolled back by the first query. Throws SQLite::Exception.
std::optional<SQLite::Database> OpenAsItIs(const std::string& path);

/// Runs `operation`, which returns an int, and turns an exception into a log line and -1: none
/// leaves the library.
template <typename Operation>
int WithoutExceptions(const char* what, Operation operation)
{
    try {
        return operation();
    } catch (const std::exception& failure) {
        Log(LOG_ERR, "%s: %s", what, failure.what());
        return -1;
    }
}

}  // namespace host::system
