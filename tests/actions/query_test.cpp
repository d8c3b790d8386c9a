// The mail log: list, search, clear.
#include <ctime>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kFolder = "/var/packages/Mailvane/target/etc/maillog/";
const std::string kOpen = "MailLog::MailLog " + kFolder + "maillog.db";
const std::string kTexts = "ParseTexts /var/packages/Mailvane/target/app/texts/en";
const char kNoCriteria[] = R"(id "" to "" from "" size any 0 status -1 dates 0 0})";
const char kTextFile[] =
    R"({"maillog": {"send": "sent", "receive": "got", "bounce": "back", "resend": "again",
                    "unknow": "?"}})";

MailLogInfo Entry(const std::string& id, std::uint32_t size, int status)
{
    MailLogInfo entry;
    entry.messageId = id;
    (void)strptime("2026-11-03 09:05:00", "%F %T", &entry.time);
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

class MailLogPage : public ActionTest {
protected:
    void Prepare() override { world.texts = ParseJson(kTextFile); }
};

}  // namespace

TEST_F(MailLogPage, ListPassesPageOrderAndCriteriaOn)
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
        {{{"searchParams", std::string(2000, '[')}}, kPage},
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

TEST_F(MailLogPage, ShowSizesAndStatusInTheirWords)
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
        {16777267, 0, "16384.1KB", "sent"},
        {1073741824, 0, "1.0KB", "sent"},
        {4294967295U, 0, "4.1KB", "sent"},
    };
    Json::Value items(Json::arrayValue);
    for (const auto& row : rows) {
        world.logRows.push_back(Entry("<m>", row.bytes, row.status));
        items.append(Row("<m>", row.size, row.word));
    }
    Json::Value want = ParseJson(R"({"success": true, "total": 9})");
    want["items"] = items;
    EXPECT_EQ(Read("load_log").output, Answer(Compact(want)));
    EXPECT_EQ(Read("search_log").output, Answer(Compact(want)));
}

TEST_F(MailLogPage, SearchPassesItsPageOnAndShowsOneEmptyRowForNone)
{
    world.Return("MailLog::getLogNum \"a b\"", 12);
    EXPECT_EQ(Read("search_log", {{"start", "10"},
                                  {"limit", "20"},
                                  {"query", "a b"},
                                  {"sort", "size"},
                                  {"log_path", "/x"}})
                  .output,
              Answer(R"({"success": true, "total": 0, "items": {"date": "", "time": "", "size": "",
                         "status": "", "mail_to": "", "mail_from": ""}})"));
    EXPECT_EQ(world.Calls(),
              Lines({kOpen, "MailLog::error", kTexts, "MailLog::search 20 10 size DESC \"a b\"",
                     "MailLog::getLogNum \"a b\""}));
}

TEST_F(MailLogPage, WithoutACountTheListHasItsRowsAndTheSearchAFullPage)
{
    for (const auto& [action, total] : {std::pair{"load_log", 1}, {"search_log", 20}}) {
        world.logRows = {Entry("<m>", 0, 0)};
        world.Fail("MailLog::getLogNum");
        Json::Value want = ParseJson(kSuccess);
        want["total"] = total;
        want["items"].append(Row("<m>", "0KB", "sent"));
        EXPECT_EQ(Read(action, {{"limit", "20"}}).output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(MailLogPage, TheFirstFailureEndsAnAction)
{
    ExpectFailures({
        {"load_log", "MailLog::error", {"mail log init fail"}, Failed()},
        {"load_log", "MailLog::load", {"load log fail"}},
        {"search_log", "MailLog::error", {"mail log init fail"}, Failed()},
        {"search_log", "MailLog::search", {"search log fail"}},
        {"clear_log", "MailLog::error", {"mail log init fail"}, Failed()},
        {"clear_log", "MailLog::clear", {"clear log fail"}},
    });
}
