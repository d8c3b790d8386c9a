// The mail log as downloads: the table, the text log.
#include <unistd.h>

#include <ctime>
#include <fstream>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kFolder = "/var/packages/Mailvane/target/etc/maillog/";
const std::string kOpen = "MailLog::MailLog " + kFolder + "maillog.db";
const std::string kTexts = "ParseTexts /var/packages/Mailvane/target/app/texts/en";
const char kEnd[] = "</table></body></html>\n";
const char kTextFile[] =
    R"({"maillog": {"mail_log": "Log", "message_id": "Id", "date": "D", "time": "T",
        "mail_from": "From", "mail_to": "To", "mail_size": "Size", "mail_status": "Status",
        "send": "sent"}})";

MailLogInfo Entry(const std::string& id)
{
    MailLogInfo entry;
    entry.messageId = id;
    (void)strptime("2026-11-03 09:05:00", "%F %T", &entry.time);
    entry.sizeBytes = 1536;
    entry.status = MAIL_SEND;
    entry.mailTo = "b@x";
    entry.mailFrom = "<a@x";
    return entry;
}

std::string ExportRow(const std::string& id)
{
    return "<tr>\n<td align=\"center\">" + id +
           "</td>\n<td align=\"center\">2026-11-03</td>\n<td align=\"center\">09:05:00</td>\n"
           "<td align=\"center\"><a@x</td><td align=\"center\">b@x</td>"
           "<td align=\"center\">1.5KB</td><td align=\"center\">sent</td></tr>\n";
}

const char kExportHead[] =
    "Content-Type:application/octet-stream\n"
    "Content-Disposition:attachment; filename=\"haldmaillog.html\"\n\n"
    "<html><head>\n"
    "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8;\">\n"
    "<title>Log</title>\n</head>\n<body>\n<center><h2> Log </h2></center>\n"
    "<table border=1 width=95%>\n<tr>\n"
    "<th>Id</th><th>D</th><th>T</th><th>From</th><th>To</th><th>Size</th><th>Status</th></tr>\n";

class MailLogExport : public ActionTest {
protected:
    void Prepare() override { world.texts = ParseJson(kTextFile); }

    /// The log holds so many entries, whose Message-IDs are their numbers.
    void HoldEntries(int count)
    {
        bool full = true;
        for (int start = 0; full; start += 101) {
            full = start + 100 <= count;
            world.On("MailLog::load 100 " + std::to_string(start), [this, start, count] {
                world.logRows.clear();
                for (int i = start; i < std::min(start + 100, count); ++i) {
                    world.logRows.push_back(Entry(std::to_string(i)));
                }
                return 0;
            });
        }
    }
};

}  // namespace

TEST_F(MailLogExport, ExportWritesPagesOfAHundredEntriesAndLeavesOneOutAfterEach)
{
    for (const int count : {0, 1, 100, 101, 250}) {
        SCOPED_TRACE(count);
        HoldEntries(count);
        std::string want = kExportHead;
        for (int i = 0; i < count; ++i) {
            if (i % 101 != 100) want += ExportRow(std::to_string(i));
        }
        const std::map<std::string, std::string> asked = {
            {"sort", "time"}, {"dir", "ASC"}, {"log_path", "/x"}};
        EXPECT_EQ(Read("export_log", asked).output, want + kEnd);
        EXPECT_NE(world.Calls().find(kOpen + "\nMailLog::error\n" + kTexts +
                                     "\nMailLog::load 100 0 date ASC\n"),
                  std::string::npos);
        NextCase();
    }

    // A failure in the middle closes the table. What was read until then has been sent.
    world.logRows.assign(100, Entry("99"));
    std::string want = kExportHead;
    for (int i = 0; i < 100; ++i) want += ExportRow("99");
    world.On("MailLog::load 100 101", [&want] {
        EXPECT_EQ(lseek(STDOUT_FILENO, 0, SEEK_CUR), static_cast<off_t>(want.size()));
        return -1;
    });
    EXPECT_EQ(Read("export_log").output, want + kEnd);
    world.ExpectLog("load log fail");
}

TEST_F(MailLogExport, TextLogIsSentAsItIsOrNotAtAll)
{
    EXPECT_EQ(Read("export_postfix_log").output, "");
    world.ExpectLog("get log path fail");

    world.postfixLogPath = "/nowhere/maillog";
    EXPECT_EQ(Read("export_postfix_log").output, "");
    world.ExpectLog("/nowhere/maillog not exist");

    world.files["/nowhere/maillog"] = "";
    EXPECT_EQ(Read("export_postfix_log").output, "");
    world.ExpectLog("post fix log open fail");

    const std::string bytes("one\n\ntwo\0\xff\r\nlast", 17);
    world.postfixLogPath = testing::TempDir() + "maillog";
    world.files[world.postfixLogPath] = "";
    std::ofstream(world.postfixLogPath, std::ios::binary) << bytes;
    EXPECT_EQ(Read("export_postfix_log").output, Download("maillog", bytes));
}

TEST_F(MailLogExport, AFailureClosesTheTable)
{
    ExpectFailures({
        {"export_log", "MailLog::error", {"mail log init fail"}, kEnd},
        {"export_log", "MailLog::load", {"load log fail"}, std::string(kExportHead) + kEnd},
    });
}
