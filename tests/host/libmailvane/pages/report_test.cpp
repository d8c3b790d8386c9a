// The report: its settings, when it is due, what it counts, how it is written.
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <sstream>

#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/pages/reporter.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/reporter.h"
#include "tests/host/hostile_journal.h"
#include "tests/host/machine.h"
#include "tools/report/check_watch.h"
#include "tools/report/letter.h"
#include "tools/report/report_text.h"
#include "tools/report/schedule.h"

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kNoon = 1795262400;  // 2026-11-21 12:00 UTC

class ReportTest : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        ASSERT_EQ(setenv("TZ", "UTC", 1), 0);
        tzset();
    }

    /// A mail log with rows of (date, size, status, from, to).
    void MakeLog(const std::string& name, const std::string& rows)
    {
        const std::string folder = host::PackagePath("target/etc/maillog");
        ASSERT_TRUE(host::MakeDirectories(folder, 0755));
        SQLite::Database log(folder + '/' + name, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        log.exec("CREATE TABLE entry (date, size, status, mail_from, mail_to, counts_as)");
        log.exec("INSERT INTO entry VALUES " + rows);
    }
};

}  // namespace

TEST_F(ReportTest, SettingsComeBackAndOnlyRootReadsThem)
{
    Reporter reporter = Reporter::LoadSetting();
    EXPECT_FALSE(reporter.IsEnabled());
    reporter.SetSender(Reporter::Sender("\"Jörg\"", "j@b.test"));
    Reporter::SMTP smtp;
    smtp.server = "smtp.test";
    smtp.password = "\"=# \\";
    reporter.SetSMTP(smtp);
    const mode_t before = umask(0);
    reporter.SaveSetting();
    umask(before);

    const Reporter stored = Reporter::LoadSetting();
    EXPECT_EQ(stored.GetSMTP().password, smtp.password);
    EXPECT_EQ(stored.GetSender().name, "\"Jörg\"");
    EXPECT_EQ(Mode(host::PackagePath("etc/report.conf")), 0600U);
    EXPECT_EQ(host::pages::ReportRecipients(" a@b ;,c@d,"),
              (std::vector<std::string>{"a@b", "c@d"}));
    for (const char* bad : {"a", "a@b.test\nx", "a@b.test, <c@d.test>"}) {
        EXPECT_THROW(reporter.SetRcpt(bad), std::exception) << bad;
    }
    smtp.password = "a\nb";
    EXPECT_THROW(reporter.SetSMTP(smtp), std::exception);
}

TEST_F(ReportTest, AStoredPasswordGoesToTheServerItWasGivenForAlone)
{
    const Reporter::SMTP given = [] {
        Reporter::SMTP smtp;
        smtp.server = "smtp.test";
        smtp.port = 587;
        smtp.auth = smtp.secure = true;
        smtp.password = "secret";
        return smtp;
    }();
    const auto saves = [](const Reporter::SMTP& smtp) {
        Reporter reporter = Reporter::LoadSetting();
        reporter.SetSMTP(smtp);
        try {
            reporter.SaveSetting();
        } catch (const std::exception&) {
            return false;
        }
        return true;
    };
    Reporter::SMTP other = given, elsewhere = given, clear = given;
    other.server = "other.test";
    elsewhere.port = 588;
    clear.secure = false;
    ASSERT_TRUE(saves(given));
    for (const Reporter::SMTP& wanted : {other, elsewhere, clear}) {
        EXPECT_FALSE(saves(wanted)) << wanted.server << wanted.port;
        Reporter::SMTP off = wanted;
        off.auth = false;
        EXPECT_TRUE(saves(off)) << "without a login nobody is told";
        EXPECT_FALSE(saves(wanted)) << "by way of no login";
        EXPECT_TRUE(saves(given)) << "back again";
    }
    EXPECT_TRUE(WasLogged("smtp_password, which was given for another server"));
    EXPECT_EQ(Reporter::LoadSetting().GetSMTP().server, "smtp.test");
    host::NoteRequest({"save_report", "admin", true});
    EXPECT_TRUE(saves(other)) << "typed again";
    host::NoteRequest({});
    EXPECT_FALSE(saves(given));
}

TEST_F(ReportTest, IsDueOnceADayAndTriedAgainAfterLongerAndLongerPauses)
{
    EXPECT_EQ(report::LatestMoment({12, 1}, kNoon), kNoon + 60 - kDay);
    // And the begin of the period that is due; 0: none.
    const std::pair<report::Progress, std::int64_t> rows[] = {
        {{kNoon, 0, 0}, 0},
        {{kNoon - kDay, 0, 0}, kNoon - kDay},
        {{kNoon - kDay, kNoon + 11, 2}, 0},
        {{kNoon - 2 * kDay, kNoon + 10, 2}, kNoon - 2 * kDay},
        {{0, 0, 0}, kNoon - 7 * kDay},
        {{kNoon + 400 * kDay, 0, 0}, kNoon - kDay},  // of a clock that was ahead
        {{kNoon - 2 * kDay, kNoon + 2 * 3600, 1}, kNoon - kDay},
    };
    for (const auto& [progress, begin] : rows) {
        const auto period = report::DuePeriod(progress, kNoon, kNoon + 10);
        EXPECT_EQ(period ? period->begin : 0, begin);
    }

    report::Progress progress{5, 0, 0};
    for (const int minutes : {5, 10, 20, 40, 60, 60}) {
        progress = report::AfterFailure(progress, kNoon);
        EXPECT_EQ(progress.nextAttempt, kNoon + minutes * 60);
    }
    ASSERT_TRUE(report::WriteProgress(progress));
    EXPECT_EQ(report::ReadProgress()->doneUntil, 5);
}

TEST_F(ReportTest, CountsWhatTheLogsOfThePeriodHold)
{
    const std::int64_t begin = 1793491200;  // 2026-11-01 00:00 UTC
    const report::Period period{begin - 60, begin + kDay};
    const std::string first = std::to_string(begin);
    MakeLog("maillog.db", "(" + first + ", 10, 1, 'b', 'a', NULL), (" + first +
                              ", 5, 0, 'a', 'c', 0), (" + first + ", 4, 3, 'a', 'c', 1), (" +
                              first + ", 1, 3, 'a', '', -1), (" + std::to_string(begin + kDay) +
                              ", 1, 0, 'a', 'c', 0)");
    MakeLog("2026-10-2.db", "(" + std::to_string(begin - 60) + ", 7, 1, 'b', 'a', 1), (" +
                                std::to_string(begin - 61) + ", 1, 2, '', 'a', 2)");
    const auto mail = report::CountMail(period);
    ASSERT_TRUE(mail);
    EXPECT_EQ(mail->byOutcome[1].messages, 3);
    EXPECT_EQ(mail->byOutcome[0].messages, 1) << "not that of the next second";
    EXPECT_EQ(mail->byOutcome[1].bytes, 21);
    EXPECT_EQ(mail->waiting.messages, 1);
    EXPECT_EQ(mail->resent.bytes, 4);
    EXPECT_EQ(mail->senders.size(), 2U);
    EXPECT_EQ(mail->recipients.size(), 2U) << "one has no recipient yet";

    // They are read with the rights of their owner only.
    const std::string folder = host::PackagePath("target/etc/maillog");
    const std::string victim = root + "/victim";
    Write(victim, "a key");
    Write(folder + "/2026-10-2.db-journal", HostileJournal(victim));
    std::filesystem::permissions(root, std::filesystem::perms(0755));
    for (const char* name : {"", "/maillog.db", "/2026-10-2.db", "/2026-10-2.db-journal"}) {
        if (geteuid() != 0) continue;
        ASSERT_EQ(lchown((folder + name).c_str(), 65534, 65534), 0);
    }
    (void)report::CountMail(period);
    EXPECT_TRUE(geteuid() != 0 || std::filesystem::exists(victim));

    const std::string prefix = " mv amavis[1]: (1-01) ";
    Write(root + "/var/log/mailvane/amavis.log",
          "Oct 31 23:58:59" + prefix + "Blocked SPAM {}\nOct 31 23:59:00" + prefix +
              "Blocked SPAM {}\nNov  1 00:00:00" + prefix + "Passed SPAMMY {}\nNov  1 01:00:00" +
              prefix + "Blocked INFECTED (X)\nNov  1 02:00:00" + prefix + "Passed CLEAN {}\nx\n");
    const auto scans = report::CountScans(period, begin + kDay);
    ASSERT_TRUE(scans);
    EXPECT_EQ(scans->spam, 2);
    EXPECT_EQ(scans->viruses, 1);
}

TEST_F(ReportTest, ShowsWhatCameFromMailAndBelievesNothingOfIt)
{
    report::Data data;
    data.period = {kNoon - kDay, kNoon};
    data.mail = report::MailCounts();
    data.mail->senders = {{"<b>&\"@x.test", {3, 2048}}, {"", {1, 1}}, {"a\r\nb\xff@x", {1, 1}}};
    const std::string html = report::Html(report::PageOf(data));
    EXPECT_NE(html.find("<td>&lt;b&gt;&amp;&quot;@x.test</td><td>3</td><td>2.0 KiB</td>"),
              std::string::npos);
    EXPECT_EQ(html.find("<b>"), std::string::npos);
    EXPECT_NE(html.find("<td>a??b?@x</td>"), std::string::npos);
}

TEST_F(ReportTest, TellsOnceOfEachCheckThatStaysBad)
{
    using host::selfcheck::CheckWord;
    const CheckWord ok = CheckWord::kOk, bad = CheckWord::kFailed, unknown = CheckWord::kUnknown;
    // Words of two checks, run after run; the first letter of each that a letter is about, "." when
    // it says that all is well again; and whether that letter can be sent.
    const struct {
        CheckWord queue, relay;
        std::string letter;
        bool isSent;
    } runs[] = {
        {bad, ok, "", true},
        {ok, ok, "", true},
        {bad, ok, "", true},
        {bad, ok, "q", false},
        {bad, bad, "q", true},
        {bad, bad, "r", true},
        {unknown, bad, "", true},
        {bad, CheckWord::kOff, "", true},
        {unknown, ok, "", true},
        {ok, ok, ".", false},
        {ok, ok, ".", true},
        {ok, bad, "", true},
        {ok, CheckWord::kWarning, "r", true},
    };
    ASSERT_TRUE(host::MakeDirectories(root + "/run/mailvane", 0755));
    std::int64_t now = kNoon;
    for (const auto& run : runs) {
        SCOPED_TRACE((now - kNoon) / 900);
        const report::CheckMemory memory = report::ReadCheckMemory();
        EXPECT_FALSE(now > kNoon && report::CheckIsDue(memory, now - 1));
        EXPECT_TRUE(report::CheckIsDue(memory, now));
        const std::vector<host::selfcheck::CheckResult> results = {{"queue", {run.queue, ""}},
                                                                   {"relay", {run.relay, ""}}};
        const report::CheckNews news = report::NewsOf(results, memory);
        std::string letter = news.isWellAgain ? "." : "";
        for (const auto& check : news.turnedBad) letter += check.key[0];
        EXPECT_EQ(letter, run.letter);
        const bool isTold = news.IsEmpty() || run.isSent;
        ASSERT_TRUE(report::WriteCheckMemory(report::Remembered(results, memory, isTold, now)));
        now += 900;
    }
    EXPECT_TRUE(report::CheckIsDue(report::ReadCheckMemory(), kNoon)) << "the clock was set back";
}

TEST_F(ReportTest, WritesALetterThatNoTextBreaksOutOf)
{
    report::Letter letter;
    letter.fromName = "Ä\r\nBcc: x@y.test" + std::string(60, 'n');
    letter.fromMail = "a@b.test";
    letter.to = {"c@d.test", "e@f.test"};
    letter.plainText = "Grüße\n.\n--report=_x\n" + std::string(200, 'p');
    const std::string text = report::MessageOf(letter);
    EXPECT_NE(text.find("\r\nTo: <c@d.test>,\r\n <e@f.test>\r\n"), std::string::npos);
    EXPECT_NE(text.find("From: =?UTF-8?B?w4QNCkJjYzog"), std::string::npos);
    EXPECT_EQ(text.find("Bcc"), std::string::npos);
    EXPECT_EQ(text.find("==="), std::string::npos) << "no end of base64";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(!line.empty() && line.back() == '\r');
        EXPECT_LE(line.size(), 79U);
    }
}
