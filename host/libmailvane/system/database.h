// SQLite databases of the library (stores). Each is opened for one operation. They use a rollback
// journal, so that no companion file is left after an operation and the file can be moved.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <exception>
#include <optional>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

/// The SQL scripts that make a store, oldest first. Script N brings version N - 1 to version N; a
/// script that was released never changes.
struct Schema {
    template <size_t Count>
    constexpr explicit Schema(const char* const (&list)[Count])
        : scripts(list), version(static_cast<int>(Count))
    {
    }

    const char* const* scripts;
    int version;
};

/// Restricts the views, triggers and indexes of an open store to harmless functions, in case
/// somebody else has written them. Throws SQLite::Exception.
void DistrustSchema(SQLite::Database& database);

/// Runs the scripts that an open store lacks, all or none. Fails for a store of a later version.
/// Throws SQLite::Exception.
Result<void> BringUpToDate(SQLite::Database& database, const Schema& schema);

/// Whether an up-to-date store has exactly the tables, indexes, views and triggers that the scripts
/// make. Throws SQLite::Exception.
Result<bool> IsMadeBy(SQLite::Database& database, const Schema& schema);

/// Opens a store for changes; creates it (mode 0600) or brings it up to date first. Fails for a
/// store of a later version.
Result<SQLite::Database> OpenForChange(const std::string& path, const Schema& schema);

/// Opens a store for reading, up to date; an empty one in memory when there is none. Fails as
/// `OpenForChange`.
Result<SQLite::Database> OpenForReading(const std::string& path, const Schema& schema);

/// Opens the database at `path`, of any schema, for reading; nothing when there is none. The first
/// query rolls back what a killed writer left unfinished.
Result<std::optional<SQLite::Database>> OpenAsItIs(const std::string& path);

/// Whether an open database is the file that its path names now.
bool IsInPlace(SQLite::Database& database);

/// Rolls back what a killed writer has left in the journal of a database, and removes the journal:
/// SQLite leaves one alone that had not come to the disk. Nothing where there is none.
Result<void> SettleJournal(const std::string& path);

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

/// The reason for an exception that is being handled, thrown by SQLite or another library in an
/// operation on `what`.
Reason ReasonOf(const std::exception& failure, const std::string& what);

/// Runs an operation on `what` that returns a value, void or a Result. Returns a Result: an
/// exception of a library becomes its reason.
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

}  // namespace host::system
