// The report: its settings, when it is due, what it counts, how it is written.
#include <gtest/gtest.h>

#include <ctime>

#include "host/libmailvane/database.h"
#include "host/libmailvane/report_recipients.h"
#include "platform/mailvane/reporter.h"
#include "tests/host/machine.h"
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
        log.exec("CREATE TABLE entry (date, size, status, mail_from, mail_to)");
        log.exec("INSERT INTO entry VALUES " + rows);
    }
};

}  // namespace

TEST_F(ReportTest, SettingsComeBackAndOnlyRootReadsThem)
{
    Reporter reporter = Reporter::LoadSetting();
    EXPECT_FALSE(reporter.IsEnabled());
    reporter.SetEnable(true);
    reporter.SetRcpt("a@b.test, c@d.test");
    reporter.SetTime(Reporter::Time(99, 4294967295U));
    reporter.SetSender(Reporter::Sender("\"Jörg\"", "j@b.test"));
    Reporter::SMTP smtp;
    smtp.server = "smtp.test";
    smtp.port = 465;
    smtp.password = "\"=# \\";
    reporter.SetSMTP(smtp);
    const mode_t before = umask(0);
    reporter.SaveSetting();
    umask(before);

    const Reporter stored = Reporter::LoadSetting();
    EXPECT_EQ(stored.GetSMTP().password, smtp.password);
    EXPECT_EQ(stored.GetSender().name, "\"Jörg\"");
    EXPECT_EQ(stored.GetReportTime().mins, 4294967295U);
    struct stat status;
    const std::string file = host::PackagePath("etc/report.conf");
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(host::ReportRecipients(" a@b ;,c@d,"), (std::vector<std::string>{"a@b", "c@d"}));

    for (const char* bad : {"a", "a@b.test\nx", "a@b.test, <c@d.test>"}) {
        EXPECT_THROW(reporter.SetRcpt(bad), std::exception) << bad;
    }
    smtp.password = "a\nb";
    EXPECT_THROW(reporter.SetSMTP(smtp), std::exception);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_THROW(reporter.SaveSetting(), std::exception);
    EXPECT_THROW(Reporter::LoadSetting(), std::exception);
}

TEST_F(ReportTest, IsDueOnceADayAndTriedAgainAfterLongerAndLongerPauses)
{
    EXPECT_EQ(report::LatestMoment({12, 0}, kNoon), kNoon);
    EXPECT_EQ(report::LatestMoment({12, 1}, kNoon), kNoon + 60 - kDay);
    EXPECT_EQ(report::LatestMoment({99, 99}, kNoon), kNoon + 43140 - kDay);

    const struct {
        report::Progress progress;
        std::int64_t begin;  ///< 0: not due
    } rows[] = {{{kNoon, 0, 0}, 0},
                {{kNoon - kDay, 0, 0}, kNoon - kDay},
                {{kNoon - kDay, kNoon + 11, 2}, 0},
                {{kNoon - 2 * kDay, kNoon + 10, 2}, kNoon - 2 * kDay},
                {{0, 0, 0}, kNoon - 7 * kDay}};
    for (const auto& row : rows) {
        const auto period = report::DuePeriod(row.progress, kNoon, kNoon + 10);
        EXPECT_EQ(period ? period->begin : 0, row.begin);
    }

    report::Progress progress{5, 0, 0};
    for (const int minutes : {5, 10, 20, 40, 60, 60}) {
        progress = report::AfterFailure(progress, kNoon);
        EXPECT_EQ(progress.nextAttempt, kNoon + minutes * 60);
    }
    EXPECT_FALSE(report::ReadProgress());
    ASSERT_TRUE(report::WriteProgress(progress));
    EXPECT_EQ(report::ReadProgress()->attempts, 6);
    EXPECT_EQ(report::ReadProgress()->doneUntil, 5);
}

TEST_F(ReportTest, CountsWhatTheLogsOfThePeriodHold)
{
    const std::int64_t begin = 1793491200;  // 2026-11-01 00:00 UTC
    const report::Period period{begin - 60, begin + kDay};
    EXPECT_FALSE(report::CountMail(period));
    EXPECT_FALSE(report::CountScans(period, begin));

    const std::string first = std::to_string(begin);
    MakeLog("maillog.db", "(" + first + ", 10, 1, 'b', 'a'), (" + first + ", 5, 0, 'a', 'c'), (" +
                              std::to_string(begin + kDay) + ", 1, 0, 'a', 'c')");
    MakeLog("2026-10.db", "(" + std::to_string(begin - 60) + ", 7, 1, 'b', 'a'), (" +
                              std::to_string(begin - 61) + ", 1, 2, '', 'a')");
    const auto mail = report::CountMail(period);
    ASSERT_TRUE(mail);
    EXPECT_EQ(mail->byStatus[1].messages, 2);
    EXPECT_EQ(mail->byStatus[1].bytes, 17);
    EXPECT_EQ(mail->byStatus[2].messages, 0);
    ASSERT_EQ(mail->senders.size(), 2U);
    EXPECT_EQ(mail->senders[0].address, "b");
    EXPECT_EQ(mail->recipients[0].volume.bytes, 17);

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
    EXPECT_NE(report::PlainText(data).find("There is no mail log."), std::string::npos);
    data.mail = report::MailCounts();
    data.mail->senders = {{"<b>&\"@x.test", {3, 2048}}, {"", {1, 1}}, {"a\r\nb\xff@x", {1, 1}}};
    data.checks = {{"dns_mx", "FAILED"}, {"postfix", "OK"}};
    const std::string html = report::Html(data);
    EXPECT_NE(html.find("<td>&lt;b&gt;&amp;&quot;@x.test</td><td>3</td><td>2.0 KiB</td>"),
              std::string::npos);
    EXPECT_EQ(html.find("<b>"), std::string::npos);
    EXPECT_NE(html.find("<td>a??b?@x</td>"), std::string::npos);
    EXPECT_NE(report::PlainText(data).find("2 checks, 1 of them well."), std::string::npos);
    EXPECT_EQ(report::PlainText(data).find("postfix  "), std::string::npos);
}

TEST_F(ReportTest, WritesALetterThatNoTextBreaksOutOf)
{
    report::Letter letter;
    letter.fromName = "Ä\r\nBcc: x@y.test" + std::string(60, 'n');
    letter.fromMail = "a@b.test";
    letter.to = {"c@d.test", "e@f.test"};
    letter.subject = "Mail report of mv.test, 2026-11-21";
    letter.plainText = "Grüße\n.\n--report=_x\n" + std::string(200, 'p');
    letter.date = kNoon;
    const std::string text = report::MessageOf(letter);
    EXPECT_NE(text.find("Date: Sat, 21 Nov 2026 12:00:00 +0000\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\nSubject: Mail report of mv.test, 2026-11-21\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\nTo: <c@d.test>,\r\n <e@f.test>\r\n"), std::string::npos);
    EXPECT_NE(text.find("From: =?UTF-8?B?w4QNCkJjYzog"), std::string::npos);
    EXPECT_EQ(text.find("Bcc"), std::string::npos);
    std::size_t start = 0;
    for (std::size_t end = 0; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        EXPECT_EQ(text[end - 1], '\r');
        EXPECT_LE(end - start, 79U);
    }
}
