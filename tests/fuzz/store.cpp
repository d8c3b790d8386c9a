// Fuzz target: a log, from its lines to the rows that the pages show.
#include <filesystem>

#include "host/libmailvane/maillog/log_clock.h"
#include "host/libmailvane/maillog/schema.h"
#include "tests/fuzz/fuzz.h"
#include "tools/maillog_collector/log_event.h"
#include "tools/maillog_collector/mail_correlator.h"
#include "tools/maillog_collector/mail_store.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kNow = 1798761600;  // 2027-01-01
constexpr int kLinesAtOnce = 7;

/// A database without entries.
std::string NewDatabase()
{
    static const bool isThere = [] {
        (void)host::maillog::OpenMailLogForChange(fuzz::OwnFile("empty.db"));
        return true;
    }();
    (void)isThere;
    const std::string path = fuzz::OwnFile("log.db");
    for (const char* rest : {"-wal", "-shm"}) fs::remove(path + rest);
    fs::copy_file(fuzz::OwnFile("empty.db"), path, fs::copy_options::overwrite_existing);
    return path;
}

void TakeIn(std::string_view log, collector::MailStore& store)
{
    collector::MailCorrelator correlator(store);
    host::maillog::LogClock clock(kNow);
    (void)store.Position();
    for (int number = 1; !log.empty(); ++number) {
        const std::string text = fuzz::Cut(log, '\n');
        const auto line = collector::ParseLine(text);
        const auto event = line ? collector::ParseEvent(*line) : std::nullopt;
        const std::int64_t time = event ? clock.Seconds(line->stamp) : -1;
        if (time >= 0) correlator.Apply(*event, time, "line " + std::to_string(number));
        if (number % kLinesAtOnce != 0 && !log.empty()) continue;

        fuzz::Expect(store.Store(correlator.Changed(), correlator.Ended(), {1, number, 1}));
        correlator.Stored();
    }
}

/// What the triggers keep in step is in step, and nothing is markup.
void Judge(SQLite::Database& database)
{
    const auto number = [&database](const char* query) {
        return database.execAndGet(query).getInt64();
    };
    database.exec("INSERT INTO entry_text (entry_text, rank) VALUES ('integrity-check', 1)");
    fuzz::Expect(number("SELECT count(*) FROM entry") == number("SELECT entries FROM tally"));
    fuzz::Expect(number("SELECT count(*) FROM (SELECT status, date / 3600, count(*) FROM entry "
                        "GROUP BY 1, 2 EXCEPT SELECT * FROM counts)") == 0);
    fuzz::Expect(number("SELECT count(*) FROM entry WHERE counts_as IN (0, 1, 2)") ==
                 number("SELECT total(inbound + outbound + bounce) FROM totals"));
    fuzz::Expect(number("SELECT count(*) FROM entry WHERE message_id || mail_from || mail_to "
                        "GLOB '*[<>]*' OR size < 0") == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path = NewDatabase();
    {
        collector::MailStore store(path);
        TakeIn(fuzz::Text(data, size), store);
        store.Forget(kNow);
    }
    SQLite::Database database(path, SQLite::OPEN_READWRITE);
    Judge(database);
    return 0;
}
