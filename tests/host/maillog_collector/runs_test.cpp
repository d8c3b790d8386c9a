// Runs of the collector over logs: what lands in the database, and that it lands there once.
#include <unistd.h>
#include <zlib.h>

#include <csignal>
#include <iterator>
#include <memory>

#include "tests/host/libmailvane/maillog/machine.h"
#include "tools/maillog_collector/collector.h"
#include "tools/maillog_collector/damaged_log.h"

namespace {

namespace fs = std::filesystem;

class CollectorRuns : public LogMachine {
protected:
    void SetUp() override
    {
        LogMachine::SetUp();
        ASSERT_EQ(0, setenv("TZ", "UTC", 1));
        tzset();
        log = host::Path(host::maillog::kPostfixLog);
        fs::create_directories(fs::path(log).parent_path());
    }

    void Append(const std::string& text)
    {
        std::ofstream(log, std::ios::app | std::ios::binary) << text;
    }

    static std::string Line(const std::string& text, const std::string& day = "2026-11-21")
    {
        return day + "T04:16:18Z mail postfix/" + text + "\n";
    }

    /// A message of its own from its first line to its last.
    static std::string Message(int number, const std::string& day = "2026-11-21")
    {
        const std::string id = "4jWf5tbbbbz" + std::to_string(1000 + number) + ": ";
        return Line("smtpd[1]: " + id + "client=x[203.0.113.1]", day) +
               Line("cleanup[1]: " + id + "message-id=<m" + std::to_string(number) + "@x>", day) +
               Line("qmgr[1]: " + id + "from=<a@x.test>, size=100, nrcpt=1 (queue active)", day) +
               Line("lmtp[1]: " + id + "to=<b@mv.test>, relay=l, delay=0, status=sent (ok)", day) +
               Line("qmgr[1]: " + id + "removed", day);
    }

    /// Reads all that the log has.
    static host::Result<bool> TakeIn(collector::Collector& run)
    {
        for (;;) {
            host::Result<bool> any = run.Step();
            if (!any || !*any) return any;
        }
    }

    static void Collect()
    {
        collector::Collector run;
        const host::Result<bool> done = TakeIn(run);
        EXPECT_TRUE(done) << done.reason().text;
    }

    static std::string Ask(const std::string& query,
                           const std::string& path = host::maillog::MailLogLivePath())
    {
        SQLite::Database database(path, SQLite::OPEN_READWRITE);
        SQLite::Statement statement(database, query);
        std::string answer;
        while (statement.executeStep()) {
            for (int i = 0; i < statement.getColumnCount(); ++i) {
                answer += (i > 0 ? "|" : "") + statement.getColumn(i).getString();
            }
            answer += '\n';
        }
        return answer;
    }

    /// What one recipient of one message became: status and what it counts as.
    static std::string Entry(const std::string& id, const std::string& to)
    {
        return Ask("SELECT mail_from, size, status, counts_as FROM entry WHERE queue_id LIKE '" +
                   id + "%' AND mail_to = '" + to + "'");
    }

    /// The search index (it throws), the totals and the counts agree with the entries.
    static void CheckSums()
    {
        EXPECT_NO_THROW(
            Ask("INSERT INTO entry_text (entry_text, rank) VALUES ('integrity-check', 1)"));
        EXPECT_EQ(Ask("SELECT count(*) FROM entry"), Ask("SELECT entries FROM tally"));
        EXPECT_EQ(Ask("SELECT status, date / 3600, count(*) FROM entry GROUP BY 1, 2"),
                  Ask("SELECT * FROM counts WHERE entries <> 0"));
        EXPECT_EQ(Ask("SELECT total(counts_as = 1), total(counts_as = 0), total(counts_as = 2), "
                      "total((counts_as = 1) * size) FROM entry"),
                  Ask("SELECT total(inbound), total(outbound), total(bounce), "
                      "total(inbound_bytes) FROM totals"));
    }

    /// All that a run leaves, but for what names the log's inode.
    static std::string Everything()
    {
        return Ask("SELECT message_id, mail_from, mail_to, size, status, counts_as, date "
                   "FROM entry ORDER BY date, message_id, mail_from, mail_to, size") +
               Ask("SELECT * FROM totals") + Ask("SELECT * FROM counts WHERE entries <> 0") +
               Ask("SELECT * FROM tally") +
               Ask("SELECT queue_id, root_id, state FROM message ORDER BY queue_id");
    }

    /// The lines of the sample, of which each was written by a real machine. Those that leave the
    /// year to the reader get it.
    static std::string Sample()
    {
        const std::string day = "Nov 21 ";
        std::ifstream file(MAILVANE_SAMPLE_LOG);
        std::string text;
        for (std::string line; std::getline(file, line); text += line + "\n") {
            if (line.rfind(day, 0) == 0)
                line.replace(day.size() + 8, 0, "Z").replace(0, day.size(), "2026-11-21T");
        }
        return text;
    }

    /// No database and no log any more.
    void StartAnew() const
    {
        fs::remove_all(host::maillog::MailLogLiveFolder());
        fs::create_directories(host::maillog::MailLogLiveFolder());
        fs::remove(log);
    }

    std::string log;
};

}  // namespace

TEST_F(CollectorRuns, EveryKindOfRealLine)
{
    Append(Sample());
    Collect();

    EXPECT_EQ("0|0|6\n1|1|33\n2|2|20\n3|-1|3\n3|0|1\n3|1|1\n",
              Ask("SELECT status, counts_as, count(*) FROM entry GROUP BY 1, 2 ORDER BY 1, 2"));
    EXPECT_EQ("34|7|20\n", Ask("SELECT sum(inbound), sum(outbound), sum(bounce) FROM totals"));
    EXPECT_EQ("64\n", Ask("SELECT entries FROM tally"));

    const struct {
        const char *what, *id, *to, *want;
    } cases[] = {
        {"alias", "4jWf5w4qCxzm4Dp", "bob@lab.test", "x@plain.test|578|1|1\n"},
        {"passed on", "4jWf6G2KHbzm4FF", "ext@lab.test", "x@plain.test|575|3|1\n"},
        {"its second id", "4jWf6G2KHbzm4FF", "someone@remote.test", "x@plain.test|575|0|0\n"},
        {"bounced", "4jWf6M2n8mzm4JH", "nobody@refuse.test", "bob@lab.test|404|2|2\n"},
        {"deferred", "4jWf642pZZzm4F9", "x@plain.test", "|2692|3|-1\n"},
        {"then sent", "4jWf6S3F6Wzm4FS", "slowpoke@slow.test", "bob@lab.test|403|3|0\n"},
        {"expired", "4jWfF23bqCzm4FB", "slowpoke@slow.test", "bob@lab.test|404|2|2\n"},
        {"deleted", "4jWfHW5fw3zm48r", "slowpoke@slow.test", "bob@lab.test|403|2|2\n"},
        {"refused", "line", "ghost@lab.test", "x@plain.test|0|2|2\n"},
        {"by a milter", "4jWf6n6hMgzm4H3", "alice@lab.test", "x@plain.test|0|2|2\n"},
        {"held, released", "4jWf6x2H6nzm4H6", "alice@lab.test", "x@plain.test|582|1|1\n"},
        {"too large", "4jWf770trgzm4Xs", "", "|0|2|2\n"},
        {"scanned, two ids", "4jWf7T69kfzm4Dv", "alice@lab.test", "x@plain.test|579|1|1\n"},
        {"scanned, alias", "4jWf7b02Vqzm4Dw", "bob@lab.test", "x@plain.test|559|1|1\n"},
        {"no entry of the hop", "4jWf7b02Vqzm4Dw", "sales@lab.test", ""},
        {"quarantined", "4jWf7h1V5Tzm4FD", "alice@lab.test", "x@plain.test|749|1|1\n"},
        {"short id", "AAB6D5121F7/20261121", "alice@lab.test", "bob@lab.test|375|1|1\n"},
    };
    for (const auto& one : cases) EXPECT_EQ(one.want, Entry(one.id, one.to)) << one.what;
    EXPECT_EQ("179523462594.11001.16734174806374602012@client.test\n",
              Ask("SELECT message_id FROM entry WHERE queue_id = '4jWf6n6hMgzm4H3'"));
}

// The file has headings, lines as they come, and after "> " the rows that they leave.
TEST_F(CollectorRuns, RowsOfAFewLines)
{
    std::ifstream cases(MAILVANE_FEW_LINES);
    std::string what, rows;
    for (std::string line; std::getline(cases, line);) {
        const std::string begin = line.substr(0, 2);
        if (begin == "# ") {
            StartAnew();
            what = line;
            rows.clear();
        } else if (begin == "> ") {
            rows += line.substr(2) + "\n";
        } else if (!line.empty()) {
            Append(Line(line));
            if (line.find("client=") == std::string::npos) Collect();
        } else {
            EXPECT_EQ(rows,
                      Ask("SELECT mail_from, mail_to, status, counts_as FROM entry ORDER BY id"))
                << what;
            CheckSums();
        }
    }
    EXPECT_EQ("# the end", what);
}

TEST_F(CollectorRuns, RotationsAndTruncationsLoseNothing)
{
    std::unique_ptr<collector::Collector> run = std::make_unique<collector::Collector>();
    const auto takeIn = [&run] {
        EXPECT_TRUE(TakeIn(*run));
        return Ask("SELECT entries FROM tally");
    };
    Append(Message(1));
    EXPECT_EQ("1\n", takeIn());

    const std::size_t half = Message(2).find("lmtp");
    Append(Message(2).substr(0, half));
    fs::rename(log, log + ".1");
    Append(Message(2).substr(half) + Message(3));
    EXPECT_EQ("3\n", takeIn()) << "moved away during a delivery";

    Append(Message(4));
    run.reset();
    fs::rename(log, log + ".2");
    Append(Message(5));
    fs::rename(log, log + ".1");
    Append(Message(6));
    fs::last_write_time(log + ".2", fs::last_write_time(log) - std::chrono::minutes(2));
    fs::last_write_time(log + ".1", fs::last_write_time(log) - std::chrono::minutes(1));
    run = std::make_unique<collector::Collector>();
    EXPECT_EQ("6\n", takeIn()) << "moved twice while nobody read it";

    fs::resize_file(log, 0);
    Append(Message(7).substr(0, 20));
    EXPECT_EQ("6\n", takeIn());
    Append(Message(7).substr(20));
    EXPECT_EQ("7\n", takeIn()) << "cut off";
    fs::resize_file(log, 0);
    Append(Message(14) + Message(15) + Message(16));
    EXPECT_EQ("10\n", takeIn()) << "cut off, and longer than before";

    run.reset();
    const auto packed = [this](const std::string& name) {
        std::ifstream file(log, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const gzFile to = gzopen((log + name).c_str(), "wb");
        EXPECT_EQ(static_cast<int>(text.size()),
                  gzwrite(to, text.data(), static_cast<unsigned>(text.size())));
        EXPECT_EQ(Z_OK, gzclose(to));
        fs::remove(log);
    };
    Append(Message(8));
    packed(".4.gz");
    Append(Message(9));
    packed(".3.gz");
    Append(Message(10));
    run = std::make_unique<collector::Collector>();
    EXPECT_EQ("13\n", takeIn()) << "packed twice while nobody read it";

    run.reset();
    fs::remove(log);
    Append(Message(11, "2026-11-22"));
    fs::rename(log, log + ".0");
    Append(Message(12, "2026-11-22"));
    run = std::make_unique<collector::Collector>();
    EXPECT_EQ("15\n", takeIn()) << "what was read last is gone, what came after it is not";

    fs::remove(log);
    EXPECT_EQ("15\n", takeIn());
    Append(std::string(600000, 'x') + "\n" + std::string(3, '\0') + "\n" + Message(13));
    EXPECT_EQ("16\n", takeIn()) << "a line without end in a new log";
    Append(std::string(262144, 'x') +
           Line("smtpd[1]: NOQUEUE: reject: RCPT from x[192.0.2.1]: 550"));
    EXPECT_EQ("16\n", takeIn()) << "its end is no line of its own";
}

TEST_F(CollectorRuns, WhatWasClearedStaysAway)
{
    Append(Message(1) +
           Line("qmgr[1]: 4jWf5tbbbbz77: from=<a@x.test>, size=1, nrcpt=1 (queue active)"));
    collector::Collector run;
    EXPECT_TRUE(TakeIn(run));
    Append(Message(2));
    ASSERT_EQ(0, Log().clear());
    Append(Message(3));
    EXPECT_TRUE(TakeIn(run));
    EXPECT_EQ("m3@x\n", Ask("SELECT message_id FROM entry"));
    EXPECT_EQ("1\n", Ask("SELECT sum(inbound) FROM totals"));
    EXPECT_EQ("0\n", Ask("SELECT count(*) FROM message"));
    CheckSums();

    ASSERT_TRUE(collector::PutDamagedAside());
    Append(Message(4, "2099-01-01"));
    Collect();
    EXPECT_EQ("m4@x\n", Ask("SELECT message_id FROM entry")) << "with a new database too";
}

TEST_F(CollectorRuns, AMonthThatIsReadGoesOn)
{
    Append(Message(1, "2025-10-30"));
    Collect();
    {
        SQLite::Database reader(host::maillog::MailLogLivePath(), SQLite::OPEN_READONLY);
        EXPECT_EQ(1, reader.execAndGet("SELECT count(*) FROM entry").getInt());
        Append(Message(2, "2025-11-01"));
        Collect();
        EXPECT_EQ(2, reader.execAndGet("SELECT count(*) FROM entry").getInt());
    }
    Append(Message(3, "2025-12-01"));
    Collect();
    EXPECT_EQ("m3@x\n", Ask("SELECT message_id FROM entry"));
}

TEST_F(CollectorRuns, AStampFarAheadKeepsNoMonthOpen)
{
    Append(Message(1, "2099-10-30") + Message(2, "2099-12-01"));
    Collect();
    EXPECT_EQ("2\n", Ask("SELECT count(*) FROM entry WHERE abs(date - unixepoch()) < 600"));
}

TEST_F(CollectorRuns, AMonthBecomesAFile)
{
    const std::string id = "[1]: 4jWf5tbbbbz77: ";
    const std::string to = "to=<far@y.test>, relay=r, delay=0, status=";
    const std::string october = host::maillog::MailLogFolder() + "/2026-10.db";
    Append(Message(0, "2026-08-01") + Message(1, "2026-10-30") +
           Line("qmgr" + id + "from=<a@x.test>, size=1, nrcpt=1 (queue active)", "2026-10-31") +
           Line("smtp" + id + to + "deferred (no)", "2026-10-31") + Message(2, "2026-11-01") +
           Line("smtp" + id + to + "sent (ok)", "2026-11-01"));
    for (int year = 2001; year < 2020; ++year)
        Write(host::maillog::MailLogFolder() + "/" + std::to_string(year) + "-01.db", "");
    Collect();

    EXPECT_EQ("m1@x\n", Ask("SELECT message_id FROM entry", october));
    EXPECT_EQ("delete\n", Ask("PRAGMA journal_mode", october));
    EXPECT_EQ("far@y.test|3|0\nb@mv.test|1|1\n",
              Ask("SELECT mail_to, status, counts_as FROM entry ORDER BY date"));
    EXPECT_EQ("3|1\n", Ask("SELECT sum(inbound), sum(outbound) FROM totals"));
    EXPECT_EQ("2\n", Ask("SELECT entries FROM tally"));
    EXPECT_EQ("2\n", Ask("SELECT sum(entries) FROM counts"));
    EXPECT_FALSE(fs::exists(host::maillog::MailLogLivePath() + ".next"));
    EXPECT_FALSE(fs::exists(host::maillog::MailLogFolder() + "/2009-01.db"));
    EXPECT_TRUE(fs::exists(host::maillog::MailLogFolder() + "/2010-01.db"));
}

TEST_F(CollectorRuns, EqualIdsOfTwoMachinesAreTwoMessages)
{
    const std::string day = "2026-11-22T04:16:18Z ";
    const auto ofTwo = [&day](const std::string& text) {
        return day + "mx2 postfix/" + text + "\n" + day + "mx3.a.test postfix/" + text + "\n";
    };
    Append(Message(1) + Line("smtpd[1]: 4jWf5tbbbbz2: client=x[203.0.113.1]"));
    Collect();
    Write("/etc/default/mailvane", "MAILVANE_MAIL_LOG=all\n");
    char own[65] = "";
    ASSERT_EQ(0, ::gethostname(own, sizeof own - 1));
    log = host::maillog::CollectedLogPath();
    Append(Message(1, "2026-11-20"));  // of before
    for (const std::string id : {"4jWf5tbbbbz3", "3F2A01B7C2"}) {
        Append(ofTwo("smtpd[1]: " + id + ": client=x[203.0.113.1]") +
               ofTwo("qmgr[1]: " + id + ": from=<a@x.test>, size=9, nrcpt=1 (queue active)") +
               ofTwo("lmtp[1]: " + id + ": to=<b@mv.test>, relay=l, delay=0, status=sent (ok)") +
               ofTwo("qmgr[1]: " + id + ": removed"));
    }
    Append(day + own +
           " postfix/qmgr[1]: 4jWf5tbbbbz2: from=<a@x.test>, size=1, nrcpt=1 (queue active)\n" +
           day + "m/x postfix/qmgr[1]: 4jWf5tbbbbz2: removed\n");
    Collect();
    EXPECT_EQ(
        "4jWf5tbbbbz1001|1\n4jWf5tbbbbz2|1\nmx2/3F2A01B7C2/20261122|1\nmx2/4jWf5tbbbbz3|1\n"
        "mx3.a.test/3F2A01B7C2/20261122|1\nmx3.a.test/4jWf5tbbbbz3|1\n",
        Ask("SELECT queue_id, count(*) FROM entry GROUP BY 1 ORDER BY 1"));
    EXPECT_EQ("4jWf5tbbbbz2\n", Ask("SELECT queue_id FROM message"));
}

TEST_F(CollectorRuns, MessagesThatNeverEndAreForgotten)
{
    Append(Line("smtpd[1]: 4jWf5tbbbbz77: client=x[203.0.113.1]", "2026-11-12"));
    Collect();
    EXPECT_EQ("1\n", Ask("SELECT count(*) FROM message"));
    Append(Line("qmgr[1]: 4jWf5tbbbbz78: from=<a@x.test>, size=1, nrcpt=1 (queue active)",
                "2026-11-12"));
    Append(Message(1, "2026-11-19"));
    Collect();
    EXPECT_EQ("4jWf5tbbbbz78\n", Ask("SELECT queue_id FROM message")) << "one may wait for a week";
}

TEST_F(CollectorRuns, ADamagedDatabaseGivesWayToANewOne)
{
    for (int number = 1; number <= 50; ++number) Append(Message(number));
    Collect();
    std::fstream(host::maillog::MailLogLivePath(), std::ios::in | std::ios::out | std::ios::binary)
            .seekp(4096)
        << std::string(8 * 4096, '\x55');
    Append(Message(51));
    collector::Collector run;
    const host::Result<bool> done = TakeIn(run);
    ASSERT_FALSE(done) << "the damage was not seen";
    ASSERT_EQ(host::ReasonCode::kDamaged, done.reason().code) << done.reason().text;
    ASSERT_TRUE(collector::PutDamagedAside());
    Collect();
    EXPECT_EQ("51\n", Ask("SELECT count(*) FROM entry"));
    EXPECT_TRUE(fs::exists(host::maillog::MailLogLivePath() + ".damaged"));
}

TEST_F(CollectorRuns, KillsLeaveNoTrace)
{
    std::string text = Sample();
    for (int i = 0; i < 400; ++i) text += Message(i);
    Append(text);
    Collect();
    const std::string want = Everything();
    StartAnew();

    // Killed at another moment each time: while it starts, reads or stores.
    const std::size_t piece = text.size() / 160;
    for (std::size_t part = 0; part * piece < text.size();) {
        const pid_t child = InChild([this] {
            return ::execl(MAILVANE_COLLECTOR, MAILVANE_COLLECTOR, "--root", root.c_str(), nullptr);
        });
        for (std::size_t end = part + 4; part < end && part * piece < text.size(); ++part) {
            Append(text.substr(part * piece, piece));
            ::usleep(static_cast<useconds_t>((part / 4 * 7 + part % 4 * 5) % 23) * 1000);
        }
        ::kill(child, SIGKILL);
        EXPECT_EQ(-SIGKILL, StatusOf(child));
    }
    Collect();
    EXPECT_EQ(want, Everything());
    CheckSums();
}
