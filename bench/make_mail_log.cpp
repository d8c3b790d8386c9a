// Makes a mail-log database of many entries, as the collector would have stored them, in a fraction
// of its time:
//
//   make-mail-log FILE ENTRIES
//
// The same number gives the same entries. They end at a fixed time and lie 25 seconds apart.
#include <SQLiteCpp/SQLiteCpp.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>
#include <vector>

#include "host/libmailvane/maillog/entry_batch.h"
#include "tools/maillog_collector/mail_store.h"

namespace {

constexpr std::int64_t kEnd = 1795000000;
constexpr std::int64_t kApart = 25;

// Pages of 4 KiB: 1 GiB; the bytes of texts that are indexed at once.
constexpr char kHaste[] =
    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA temp_store = MEMORY;"
    "PRAGMA cache_size = 262144;"
    "INSERT INTO entry_text (entry_text, rank) VALUES ('hashsize', 536870912)";
constexpr char kEndOfHaste[] =
    "INSERT INTO entry_text (entry_text, rank) VALUES ('hashsize', 1048576);"
    "PRAGMA journal_mode = WAL";
constexpr char kAdd[] =
    "INSERT INTO entry (queue_id, message_id, subject, recipients, date, size, status, mail_to,"
    " mail_from, counts_as) VALUES (?, ?, '', 1, ?, ?, ?, ?, ?, ?)";

class Maker {
public:
    void Add(SQLite::Statement& statement, std::int64_t number, std::int64_t date)
    {
        const std::string message = std::to_string(random_()) + "." + std::to_string(number);
        statement.bind(1, "4" + std::to_string(number) + "z" + std::to_string(number % 977));
        statement.bind(2, message + "@client" + std::to_string(Below(500)) + ".test");
        statement.bind(7, Address("user", 3000));
        statement.bind(4, 400 + static_cast<std::int64_t>(random_() % (1U << Below(22))));
        statement.bind(3, date);
        statement.bind(6, Address("box", 200));
        const int status = StatusOf(Below(100));
        statement.bind(5, status);
        statement.bind(8, status == MAIL_RESEND ? static_cast<int>(MAIL_SEND) : status);
        statement.exec();
        statement.reset();
    }

private:
    unsigned Below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

    /// One address in 50,000 has a word that no other has.
    std::string Address(const char* name, unsigned count)
    {
        const char* word = Below(50000) == 0 ? "quixotic" : name;
        return word + std::to_string(Below(count)) + "@domain" + std::to_string(Below(60)) +
               ".test";
    }

    static int StatusOf(unsigned percent)
    {
        if (percent < 55) return MAIL_RECEIVE;
        if (percent < 90) return MAIL_SEND;
        return percent < 96 ? MAIL_BOUNCE : MAIL_RESEND;
    }

    std::mt19937 random_;  // NOLINT(cert-msc*): the same entries each time
};

/// The indexes of the entries, which are quicker made when these are there.
std::vector<std::string> DropIndexes(SQLite::Database& database)
{
    std::vector<std::string> scripts;
    std::string drop;
    SQLite::Statement indexes(
        database,
        "SELECT name, sql FROM sqlite_master WHERE type = 'index' AND tbl_name = 'entry'");
    while (indexes.executeStep()) {
        drop.append("DROP INDEX ").append(indexes.getColumn(0).getString()).append(";");
        scripts.push_back(indexes.getColumn(1).getString());
    }
    indexes.reset();
    database.exec(drop);
    return scripts;
}

void Make(const std::string& path, std::int64_t count)
{
    {
        const collector::MailStore store(path);
    }
    SQLite::Database database(path, SQLite::OPEN_READWRITE);
    database.exec(kHaste);
    const std::vector<std::string> indexes = DropIndexes(database);
    Maker maker;
    SQLite::Statement add(database, kAdd);
    host::maillog::EntryBatch batch(database);
    SQLite::Transaction transaction(database);
    batch.Begin();
    for (std::int64_t number = 0; number < count; ++number) {
        maker.Add(add, number, kEnd - (count - number) * kApart);
    }
    for (const std::string& index : indexes) database.exec(index);
    batch.End();
    transaction.commit();
    database.exec(kEndOfHaste);
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: make-mail-log FILE ENTRIES\n");
        return 2;
    }
    try {
        (void)::unlink(arguments[1]);
        Make(arguments[1], std::strtoll(arguments[2], nullptr, 10));
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make-mail-log: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
