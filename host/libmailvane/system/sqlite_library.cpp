// SQLite for this library: each function that it calls passes the call on to libsqlite3, which is
// loaded by the first. Linked, it would be a quarter of the start of every request, also of those
// that ask no database.
#define SQLITE_API __attribute__((visibility("hidden")))  // for this library alone
#include <dlfcn.h>
#include <sqlite3.h>

#include <cstdarg>
#include <stdexcept>
#include <string>

namespace {

const char kLibrary[] = "libsqlite3.so.0";

/// A function of the library. Throws where it is missing.
void* Find(const char* name)
{
    static void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    void* const function = library != nullptr ? dlsym(library, name) : nullptr;
    if (function != nullptr) return function;
    throw std::runtime_error(std::string(kLibrary) + " cannot be loaded, or has no " + name);
}

/// The function of the library that has the name of one here.
template <auto* kForwarder>
auto* Real(const char* name)
{
    static const auto function = reinterpret_cast<decltype(kForwarder)>(Find(name));
    return function;
}

}  // namespace

// A macro, so that no name stands three times.
// NOLINTBEGIN(bugprone-macro-parentheses, readability-identifier-naming)
// NOLINTBEGIN(readability-function-size): named and made by SQLite
#define FORWARD(result, name, parameters, arguments) \
    result name parameters                           \
    {                                                \
        return Real<&name>(#name) arguments;         \
    }

using Statement = sqlite3_stmt;
using Blob = const void*;
using Text = const char*;
using Free = void (*)(void*);
using Row = int (*)(void*, int, char**, char**);
using Step = void (*)(sqlite3_context*, int, sqlite3_value**);
using End = void (*)(sqlite3_context*);

FORWARD(int, sqlite3_open_v2, (Text file, sqlite3** db, int flags, Text vfs),
        (file, db, flags, vfs))
FORWARD(int, sqlite3_close, (sqlite3 * db), (db))
FORWARD(int, sqlite3_busy_timeout, (sqlite3 * db, int wait), (db, wait))
FORWARD(int, sqlite3_changes, (sqlite3 * db), (db))
FORWARD(int, sqlite3_total_changes, (sqlite3 * db), (db))
FORWARD(sqlite3_int64, sqlite3_last_insert_rowid, (sqlite3 * db), (db))
FORWARD(int, sqlite3_errcode, (sqlite3 * db), (db))
FORWARD(int, sqlite3_extended_errcode, (sqlite3 * db), (db))
FORWARD(Text, sqlite3_errmsg, (sqlite3 * db), (db))
FORWARD(Text, sqlite3_errstr, (int code), (code))
FORWARD(Text, sqlite3_libversion, (), ())
FORWARD(int, sqlite3_libversion_number, (), ())
FORWARD(void, sqlite3_free, (void* memory), (memory))
FORWARD(int, sqlite3_exec, (sqlite3 * db, Text sql, Row row, void* data, char** error),
        (db, sql, row, data, error))
FORWARD(int, sqlite3_file_control, (sqlite3 * db, Text name, int code, void* data),
        (db, name, code, data))
FORWARD(int, sqlite3_load_extension, (sqlite3 * db, Text file, Text entry, char** error),
        (db, file, entry, error))
FORWARD(int, sqlite3_create_function_v2,
        (sqlite3 * db, Text name, int count, int flags, void* data, Step function, Step step,
         End end, Free release),
        (db, name, count, flags, data, function, step, end, release))

FORWARD(sqlite3_backup*, sqlite3_backup_init, (sqlite3 * to, Text name, sqlite3* from, Text source),
        (to, name, from, source))
FORWARD(int, sqlite3_backup_step, (sqlite3_backup * backup, int pages), (backup, pages))
FORWARD(int, sqlite3_backup_finish, (sqlite3_backup * backup), (backup))
FORWARD(int, sqlite3_backup_remaining, (sqlite3_backup * backup), (backup))
FORWARD(int, sqlite3_backup_pagecount, (sqlite3_backup * backup), (backup))

FORWARD(int, sqlite3_prepare_v2,
        (sqlite3 * db, Text sql, int size, Statement** statement, const char** rest),
        (db, sql, size, statement, rest))
FORWARD(int, sqlite3_step, (Statement * statement), (statement))
FORWARD(int, sqlite3_reset, (Statement * statement), (statement))
FORWARD(int, sqlite3_finalize, (Statement * statement), (statement))
FORWARD(char*, sqlite3_expanded_sql, (Statement * statement), (statement))

FORWARD(int, sqlite3_clear_bindings, (Statement * statement), (statement))
FORWARD(int, sqlite3_bind_parameter_count, (Statement * statement), (statement))
FORWARD(int, sqlite3_bind_parameter_index, (Statement * statement, Text name), (statement, name))
FORWARD(int, sqlite3_bind_null, (Statement * statement, int at), (statement, at))
FORWARD(int, sqlite3_bind_int, (Statement * statement, int at, int value), (statement, at, value))
FORWARD(int, sqlite3_bind_int64, (Statement * statement, int at, sqlite3_int64 value),
        (statement, at, value))
FORWARD(int, sqlite3_bind_double, (Statement * statement, int at, double value),
        (statement, at, value))
FORWARD(int, sqlite3_bind_text, (Statement * statement, int at, Text value, int size, Free release),
        (statement, at, value, size, release))
FORWARD(int, sqlite3_bind_blob, (Statement * statement, int at, Blob value, int size, Free release),
        (statement, at, value, size, release))

FORWARD(int, sqlite3_column_count, (Statement * statement), (statement))
FORWARD(Text, sqlite3_column_name, (Statement * statement, int at), (statement, at))
FORWARD(Text, sqlite3_column_origin_name, (Statement * statement, int at), (statement, at))
FORWARD(Text, sqlite3_column_decltype, (Statement * statement, int at), (statement, at))
FORWARD(int, sqlite3_column_type, (Statement * statement, int at), (statement, at))
FORWARD(int, sqlite3_column_bytes, (Statement * statement, int at), (statement, at))
FORWARD(int, sqlite3_column_int, (Statement * statement, int at), (statement, at))
FORWARD(sqlite3_int64, sqlite3_column_int64, (Statement * statement, int at), (statement, at))
FORWARD(double, sqlite3_column_double, (Statement * statement, int at), (statement, at))
FORWARD(Blob, sqlite3_column_blob, (Statement * statement, int at), (statement, at))
FORWARD(const unsigned char*, sqlite3_column_text, (Statement * statement, int at), (statement, at))

int sqlite3_db_config(sqlite3* db, int option, ...)
{
    // Of the options, those that switch something: a number, and where to put what is in force.
    std::va_list list;
    va_start(list, option);
    const int wanted = va_arg(list, int);
    int* const present = va_arg(list, int*);
    va_end(list);
    return Real<&sqlite3_db_config>("sqlite3_db_config")(db, option, wanted, present);
}
// NOLINTEND(readability-function-size)
// NOLINTEND(bugprone-macro-parentheses, readability-identifier-naming)
