// SQLite stores of the service library. Each is opened for one operation and closed after it, and
// keeps a rollback journal: no companion file outlives an operation, so a store can be moved.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <exception>
#include <optional>
#include <string>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/result.h"

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

/// Keeps what stands in the schema of an open store, which somebody else may have written, from
/// calling functions and tables that do more than give values. Throws SQLite::Exception.
void DistrustSchema(SQLite::Database& database);

/// Runs the scripts that an open store lacks, all or none. Throws SQLite::Exception, and
/// std::runtime_error for a store of a later version.
void BringUpToDate(SQLite::Database& database, const Schema& schema);

/// Whether an open store, brought up to date, has the tables that the scripts make, and nothing
/// else.
bool IsMadeBy(SQLite::Database& database, const Schema& schema);

/// Opens a store for changes, creating it (mode 0600) and bringing it to the newest version as
/// needed. Throws SQLite::Exception, and std::runtime_error for a store of a later version.
SQLite::Database OpenForChange(const std::string& path, const Schema& schema);

/// Opens a store for reading; nothing when there is none. An older version is brought up to date
/// first. Throws as `OpenForChange`.
std::optional<SQLite::Database> OpenForReading(const std::string& path, const Schema& schema);

/// Opens whatever database lies at `path` for reading; nothing when there is none. What a killed
/// writer left unfinished is rolled back by the first query. Throws SQLite::Exception.
std::optional<SQLite::Database> OpenAsItIs(const std::string& path);

namespace detail {

template <typename T>
struct ResultOf {
    using Type = Result<T>;
};
template <typename T>
struct ResultOf<Result<T>> {
    using Type = Result<T>;
};

}  // namespace detail

/// The reason behind an exception that is being handled: what SQLite, or another library below an
/// operation on `what`, has thrown.
Reason ReasonOf(const std::exception& failure, const std::string& what);

/// Runs an operation on `what`, which may give a value, nothing, or a Result, and makes a reason of
/// whatever a library throws meanwhile: no exception goes further up.
template <typename Operation>
auto Attempt(const std::string& what, Operation operation) ->
    typename detail::ResultOf<decltype(operation())>::Type
{
    try {
        if constexpr (std::is_void_v<decltype(operation())>) {
            operation();
            return {};
        } else {
            return operation();
        }
    } catch (const std::exception& failure) {
        return ReasonOf(failure, what);
    }
}

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
