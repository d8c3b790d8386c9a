// Pages of the mail log: list, search, downloads, files, statistic.
#include <fstream>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kFolder = "/var/packages/Mailvane/target/etc/maillog/";
const std::string kOpen = "MailLog::MailLog " + kFolder + "maillog.db";
const std::string kTexts = "ParseTexts /var/packages/Mailvane/target/app/texts/en";
const char kNoCriteria[] = R"(id "" to "" from "" size any 0 status -1 dates 0 0})";
const char kEnd[] = "</table></body></html>\n";
const char kTextFile[] =
    R"({"maillog": {"mail_log": "Log", "message_id": "Id", "date": "D", "time": "T",
        "mail_from": "From", "mail_to": "To", "mail_size": "Size", "mail_status": "Status",
        "send": "sent", "receive": "got", "bounce": "back", "resend": "again", "unknow": "?",
        "current_log": "now"}})";

MailLogInfo Entry(const std::string& id, std::uint32_t size = 1536, int status = MAIL_SEND)
{
    MailLogInfo entry;
    entry.messageId = id;
    entry.time.tm_year = 126;
    entry.time.tm_mon = 10;
    entry.time.tm_mday = 3;
    entry.time.tm_hour = 9;
    entry.time.tm_min = 5;
    entry.sizeBytes = size;
    entry.status = status;
    entry.mailTo = "b@x";
    entry.mailFrom = "<a@x";
    return entry;
}

Json::Value Row(const std::string& id, const std::string& size, const std::string& status)
{
    Json::Value row = ParseJson(R"({"date": "2026-11-03", "time": "09:05:00", "mail_to": "b@x",
                                    "mail_from": "<a@x"})");
    row["message_id"] = id;
    row["size"] = size;
    row["status"] = status;
    return row;
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

class MailLogPages : public ActionTest {
protected:
    void Prepare() override
    {
        world.texts = ParseJson(kTextFile);
        world.keyValueFiles["/etc/haldinfo.conf"]["userHomeEnable"] = "yes";
    }

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

TEST_F(MailLogPages, ListPassesPageOrderAndCriteriaOn)
{
    const std::string kPage = "start 0 limit 0 order DESC date";
    const struct {
        std::map<std::string, std::string> parameters;
        std::string page, criteria = kNoCriteria;
    } rows[] = {
        {{}, kPage},
        {{{"start", "5x"}, {"limit", "-7"}, {"dir", "up; --"}, {"sort", "time"}},
         "start 5 limit -7 order \"up; --\" date"},
        {{{"limit", "25"}, {"sort", "status"}, {"dir", "ASC"}},
         "start 0 limit 25 order ASC status"},
        {{{"sort", "id; DROP TABLE entry"}}, kPage},
        {{{"searchParams",
           R"({"message_id": "m", "mail_to": "t", "mail_from": "f", "mail_size_opt": "gt",
               "mail_size": 5, "mail_status": 2, "date_from": "17", "date_to": "18 h"})"}},
         kPage,
         "id m to t from f size gt 5120 status 2 dates 17 18}"},
        {{{"searchParams", R"({"mail_size": -2097152})"}},
         kPage,
         R"(id "" to "" from "" size any -2147483648 status -1 dates 0 0})"},
        // A text that breaks off, or is no object, holds no criteria at all.
        {{{"searchParams", R"({"mail_status": 1,)"}}, kPage},
        {{{"searchParams", "[1]"}}, kPage},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.page + " " + row.criteria);
        EXPECT_EQ(Read("load_log", row.parameters).output,
                  Answer(R"({"success": true, "items": [], "total": 0})"));
        const std::string filter = " " + row.page + " " + row.criteria;
        EXPECT_EQ(world.Calls(),
                  Lines({kOpen, "MailLog::error", kTexts, "MailLog::load {columns *" + filter,
                         "MailLog::getLogNum {columns count(*)" + filter}));
        NextCase();
    }
    (void)Read("load_log", {{"log_path", kFolder + "2026-10.db"}});
    EXPECT_EQ(world.Calls().find("MailLog::MailLog " + kFolder + "2026-10.db\n"), 0U);
}

TEST_F(MailLogPages, ShowSizesAndStatusInTheirWords)
{
    const struct {
        std::uint32_t bytes;
        int status;
        const char *size, *word;
    } rows[] = {
        {0, 0, "0KB", "sent"},
        {1, 1, "0.0KB", "got"},
        {1, 2, "0.0KB", "back"},
        {1024, 3, "1KB", "again"},
        {1536, 4, "1.5KB", "?"},
        {1048575, -1, "1024KB", "?"},
        {1073741824, 0, "1.0KB", "sent"},
        {4294967295U, 0, "4.1KB", "sent"},
    };
    Json::Value items(Json::arrayValue);
    for (const auto& row : rows) {
        world.logRows.push_back(Entry("<m>", row.bytes, row.status));
        items.append(Row("<m>", row.size, row.word));
    }
    Json::Value want = ParseJson(R"({"success": true, "total": 8})");
    want["items"] = items;
    EXPECT_EQ(Read("load_log").output, Answer(Compact(want)));
    EXPECT_EQ(Read("search_log").output, Answer(Compact(want)));
}

TEST_F(MailLogPages, SearchPassesItsPageOnAndShowsOneEmptyRowForNone)
{
    EXPECT_EQ(
        Read("search_log", {{"start", "10"}, {"limit", "20"}, {"query", "a b"}, {"sort", "size"}})
            .output,
        Answer(R"({"success": true, "total": 0, "items": {"date": "", "time": "", "size": "",
                         "status": "", "mail_to": "", "mail_from": ""}})"));
    EXPECT_EQ(world.Calls(),
              Lines({kOpen, "MailLog::error", kTexts, "MailLog::search 20 10 size DESC \"a b\"",
                     "MailLog::getLogNum \"a b\""}));
}

TEST_F(MailLogPages, AnswerFailuresOfTheLog)
{
    ExpectFailures(R"(
load_log | ... > MailLog::error | failure | mail log init fail
load_log | ... > MailLog::load | system | load log fail
search_log | ... > MailLog::error | failure | mail log init fail
search_log | ... > MailLog::search | system | search log fail
clear_log | ... > MailLog::error | failure | mail log init fail
clear_log | ... > MailLog::clear | system | clear log fail
overview_load | ... > MailLog::error | system | mail log init fail; QuantityStatisticGet fail
overview_load | ... > MailLog::getQuantityStatistic | system
  | getQuantityStatistic fail; QuantityStatisticGet fail
overview_load type=1 | ... > MailLog::error | system
  | mail log init fail; BandwidthStatisticGet fail
overview_load type=1 | ... > MailLog::getBandwidthStatistic | system
  | getQuantityStatistic fail; BandwidthStatisticGet fail
log_enum | ... > HLIBCFileEnumDir | null | enum log fail
)");
    const struct {
        const char *action, *call;
        std::string output;
        const char* log;
    } rows[] = {{"export_log", "MailLog::error", kEnd, "mail log init fail"},
                {"export_log", "MailLog::load", std::string(kExportHead) + kEnd, "load log fail"},
                {"log_enum", "HLIBCSzListAlloc", Answer("null"), "out of memory"}};
    for (const auto& row : rows) {
        world.Fail(row.call);
        EXPECT_EQ(Read(row.action).output, row.output);
        world.ExpectLog(row.log);
        NextCase();
    }
}

TEST_F(MailLogPages, ExportWritesPagesOfAHundredEntriesAndLeavesOneOutAfterEach)
{
    for (const int count : {0, 1, 100, 101, 250}) {
        SCOPED_TRACE(count);
        HoldEntries(count);
        std::string want = kExportHead;
        for (int i = 0; i < count; ++i) {
            if (i % 101 != 100) want += ExportRow(std::to_string(i));
        }
        EXPECT_EQ(Read("export_log", {{"sort", "time"}, {"dir", "ASC"}}).output, want + kEnd);
        EXPECT_NE(world.Calls().find(kOpen + "\nMailLog::error\n" + kTexts +
                                     "\nMailLog::load 100 0 date ASC\n"),
                  std::string::npos);
        NextCase();
    }

    // A failure in the middle closes the table.
    world.logRows.assign(100, Entry("99"));
    world.Fail("MailLog::load 100 101");
    std::string want = kExportHead;
    for (int i = 0; i < 100; ++i) want += ExportRow("99");
    EXPECT_EQ(Read("export_log").output, want + kEnd);
    world.ExpectLog("load log fail");
}

TEST_F(MailLogPages, TextLogIsSentAsItIsOrNotAtAll)
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

TEST_F(MailLogPages, FilesAreTheCurrentOneAndThenTheOthersLatestFirst)
{
    for (const bool others : {false, true}) {
        world.listings[kFolder] = {"maillog.db", "maillog.db.wal"};
        Json::Value want = ParseJson(R"({"total": 1, "items": [
            {"value": "/var/packages/Mailvane/target/etc/maillog/maillog.db", "display": "now"}]})");
        if (others) {
            world.listings[kFolder] = {"2026-10.db", "maillog.db", "2026-09.db", "notes"};
            for (const char* name : {"notes", "2026-10.db", "2026-09.db"}) {
                Json::Value& item = want["items"].append({});
                item["value"] = kFolder + name;
                item["display"] = name;
            }
            want["total"] = 4;
        }
        EXPECT_EQ(Read("log_enum").output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(MailLogPages, ClearEmptiesTheLog)
{
    EXPECT_EQ(Write("clear_log").output, Answer(R"({"success": true})"));
    EXPECT_EQ(world.Calls(), Lines({kOpen, "MailLog::error", "MailLog::clear"}));
}

TEST_F(MailLogPages, OverviewShowsCountsOrKilobytesOfEachPeriod)
{
    const struct {
        const char *type, *scale, *periods;
    } rows[] = {
        {"0", "2", R"([{"inbound": 1, "outbound": 0, "bounce": 1536},
                       {"inbound": -2147483648, "outbound": -1, "bounce": 7}])"},
        {"1", "2", R"([{"inbound": "0.0", "outbound": "0.0"},
                       {"inbound": "2097152.0", "outbound": "18014398509481984.0"}])"},
        {"9", "1", R"([{"inbound": "0.0", "outbound": "0.0"}])"},
        {"0", "0", "[]"},
        {"1", "-3", "[]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.type) + " " + row.scale);
        world.statistic = {{1, 0x80000000U}, {0, ~std::uint64_t{0}}, {1536, 7}};
        EXPECT_EQ(Read("overview_load", {{"type", row.type}, {"scale", row.scale}}).output,
                  Answer(R"({"success": true, "statistic": )" + std::string(row.periods) + "}"));
        NextCase();
    }

    // The time counts for volumes only; 24 periods unless asked otherwise.
    world.statistic.inbound = {1536};
    const std::string output =
        Read("overview_load", {{"type", "1"}, {"time", "1700000000"}}).output;
    EXPECT_NE(output.find(R"("inbound":"1.5")"), std::string::npos) << output;
    EXPECT_NE(world.Calls().find("MailLog::getBandwidthStatistic 1700000000 24\n"),
              std::string::npos);
    NextCase();
    (void)Read("overview_load", {{"time", "17"}});
    EXPECT_EQ(world.Calls().find("MailLog::getQuantityStatistic 17 "), std::string::npos);
    NextCase();

    for (const char* type : {"0", "1"}) {
        world.keyValueFiles.clear();
        EXPECT_EQ(Read("overview_load", {{"type", type}}).output,
                  Refusal("warning", "err_enable_homes"));
    }
}
