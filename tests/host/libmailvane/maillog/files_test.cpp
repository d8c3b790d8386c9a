// The mail log: which files are opened, damaged ones, readers beside the writer, the clearing.
#include "tests/host/libmailvane/maillog/machine.h"

namespace fs = std::filesystem;

namespace {

const char kSecret[] = "VALUES ('q', '<secret-id>', 'secret subject', 100, 10, 1, 'a@secret', 'b')";

using LogFiles = LogMachine;

/// Calls everything that a page calls; what matters is that each comes back.
void UseEverything(MailLog&& log)
{
    std::vector<MailLogInfo> rows;
    std::string text = "secret";
    Statistic statistic;
    LogFilter filter;
    filter.mailTo = text;
    (void)log.load(LogFilter(), rows);
    (void)log.load(filter, rows);
    (void)log.load(100, 0, "size", "asc", rows);
    (void)log.search(50, 0, "date", "desc", text, rows);
    (void)log.getLogNum(filter);
    (void)log.getLogNum(text);
    (void)log.getQuantityStatistic(statistic, 100, static_cast<TimeScale>(24));
}

}  // namespace

TEST_F(LogFiles, MonthsOfEarlierVersionsStayReadable)
{
    const auto& newest = host::maillog::MailLogSchema();
    for (int version = host::maillog::kOldestReadableVersion; version <= newest.version;
         ++version) {
        const std::string name = "/2026-0" + std::to_string(version) + ".db";
        SQLite::Database month(host::maillog::MailLogFolder() + name,
                               SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        for (int i = 0; i < version; ++i) {
            if (i == host::maillog::kOldestReadableVersion) month.exec(Adding(kSecret));
            month.exec(newest.scripts[i]);
        }
        if (version == host::maillog::kOldestReadableVersion) month.exec(Adding(kSecret));
        month.exec("PRAGMA user_version = " + std::to_string(version));

        MailLog log = Log("/var/packages/Mailvane/target/etc/maillog" + name);
        ASSERT_EQ(log.error(), 0) << version;
        std::vector<MailLogInfo> rows;
        LogFilter filter;
        filter.mailFrom = "b";
        EXPECT_EQ(log.load(filter, rows), 0);
        EXPECT_EQ(log.load(9, 0, "size", "asc", rows), 0);
        EXPECT_EQ(log.search(9, 0, "date", "asc", "secret", rows), 0);
        EXPECT_EQ(rows.size(), 3U) << version;
        EXPECT_EQ(log.getLogNum(filter), 1);
    }
}

TEST_F(LogFiles, OnlyDatabasesOfTheTwoFoldersAreOpened)
{
    const std::string folder = host::maillog::MailLogFolder() + "/";
    const std::string outside = host::PackagePath("target/etc/outside.db");
    Open().exec("VACUUM INTO '" + outside + "'");
    fs::copy_file(outside, folder + "2026-10.db");
    fs::create_symlink(outside, folder + "link.db");
    fs::create_directories(folder + "below");
    fs::copy_file(outside, folder + "below/2026-10.db");
    fs::create_directory_symlink(host::PackagePath("target/etc"), folder + "up");
    Write(folder + "empty.db", "");
    Write(folder + "text.db", std::string(5000, 'x'));
    SQLite::Database(folder + "later.db", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
        .exec("PRAGMA user_version = 9999");

    const std::string name = "/var/packages/Mailvane/target/etc/maillog/";
    for (const char* good : {"maillog.db", "2026-10.db", "../maillog.live/maillog.db",
                             "below/../2026-10.db", "./2026-10.db"}) {
        EXPECT_EQ(Log(name + good).error(), 0) << good;
    }
    for (const char* bad : {"missing.db", "link.db", "../outside.db", "below/2026-10.db", "below",
                            "up/outside.db", "", ".", "empty.db", "text.db", "later.db",
                            "../maillog.live", "2026-10.db/", "maillog.db?mode=rwc"}) {
        EXPECT_NE(Log(name + bad).error(), 0) << bad;
    }
    for (const char* bad : {"", "/", "maillog.db", "/etc/passwd", "file:/etc/passwd", ":memory:"}) {
        EXPECT_NE(MailLog(bad).error(), 0) << bad;
        UseEverything(MailLog(bad));
        EXPECT_LT(MailLog(bad).clear(), 0);
    }
    EXPECT_FALSE(fs::exists(folder + "missing.db"));
}

// The log's folders are the collector's, which reads what strangers write.
TEST_F(LogFiles, NothingIsDoneToTheLogWithOtherRightsThanItsOwners)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    constexpr uid_t kCollector = 65534;
    const std::string victim = root + "/victim";
    const std::string planted = host::maillog::MailLogFolder() + "/2026-01.db";
    fs::permissions(root, fs::perms(0755));
    Store(kSecret);
    Open().exec("VACUUM INTO '" + planted + "'");
    Write(victim, "a key");
    Write(planted + "-journal", HostileJournal(victim));
    for (const auto& file : fs::recursive_directory_iterator(host::PackagePath("target/etc"))) {
        ASSERT_EQ(lchown(file.path().c_str(), kCollector, kCollector), 0);
    }
    UseEverything(Log("/var/packages/Mailvane/target/etc/maillog/2026-01.db"));
    EXPECT_TRUE(fs::exists(victim));
    EXPECT_FALSE(fs::exists(planted + "-journal")) << "it was not played back";
    EXPECT_EQ(geteuid(), 0U);

    MailLog log = Log();
    EXPECT_EQ(log.getLogNum(LogFilter()), 1);
    EXPECT_EQ(log.clear(), 0);
    EXPECT_EQ(log.getLogNum(LogFilter()), 0);
    EXPECT_EQ(geteuid(), 0U);
    EXPECT_EQ(getegid(), getgid());
}

TEST_F(LogFiles, DamageAnywhereIsAnErrorAtMost)
{
    Store(
        "WITH RECURSIVE n (i) AS (VALUES (0) UNION ALL SELECT i + 1 FROM n WHERE i < 300) "
        "SELECT 'q' || i, 'm' || i, 's', i, i, i % 4, 'a@secret' || i, 'b' FROM n");
    const std::string whole = host::maillog::MailLogFolder() + "/whole.db";
    const std::string torn = host::maillog::MailLogFolder() + "/torn.db";
    Open().exec("VACUUM INTO '" + whole + "'");
    const std::string bytes = Contents(whole);
    const std::string path = "/var/packages/Mailvane/target/etc/maillog/torn.db";

    for (std::size_t page = 0; page < bytes.size(); page += 4096) {
        for (const char damage : {'\0', '\xff'}) {
            std::string copy = bytes;
            std::fill_n(copy.begin() + static_cast<std::ptrdiff_t>(page), 4096, damage);
            Write(torn, copy);
            UseEverything(Log(path));
        }
    }
}

TEST_F(LogFiles, ReadersSeeWhatIsCommittedWhileTheCollectorWrites)
{
    MailLog early = Log();
    SQLite::Database writer = Open();
    SQLite::Transaction transaction(writer, SQLite::TransactionBehavior::IMMEDIATE);
    Add(writer, kSecret);
    MailLog during = Log();
    EXPECT_EQ(early.getLogNum(LogFilter()) + during.getLogNum(LogFilter()), 0);
    transaction.commit();
    EXPECT_EQ(early.getLogNum(LogFilter()) + during.getLogNum(LogFilter()), 2);
}

TEST_F(LogFiles, ClearingLeavesNoTraceInTheFilesAndKeepsThePlaceInTheLog)
{
    SQLite::Database collector = Open();  // stays open, as the collector's does
    Store(kSecret);
    MailLog log = Log();
    EXPECT_EQ(log.getLogNum(LogFilter()), 1);
    EXPECT_EQ(log.clear(), 0);
    EXPECT_EQ(log.getLogNum(LogFilter()), 0);
    std::string text = "secret";
    EXPECT_EQ(log.getLogNum(text), 0);
    for (const auto& file : fs::directory_iterator(host::maillog::MailLogLiveFolder())) {
        EXPECT_EQ(Contents(file.path()).find("secret"), std::string::npos) << file.path();
    }
    EXPECT_EQ(collector.execAndGet("SELECT count(*) FROM position").getInt(), 1);
    Store(kSecret);
    EXPECT_EQ(log.getLogNum(text), 1);
}
