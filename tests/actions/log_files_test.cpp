// Files of the mail log.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kFolder = "/var/packages/Mailvane/target/etc/maillog/";

class LogFiles : public ActionTest {
protected:
    void Prepare() override { world.texts = ParseJson(R"({"maillog": {"current_log": "now"}})"); }
};

}  // namespace

TEST_F(LogFiles, FilesAreTheCurrentOneAndThenTheOthersLatestFirst)
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

TEST_F(LogFiles, CannotBeListed)
{
    ExpectFailures({{"log_enum", "HLIBCFileEnumDir", {"enum log fail"}, Answer("null")}});
    world.Fail("HLIBCSzListAlloc");
    EXPECT_EQ(Read("log_enum").output, Answer("null"));
    world.ExpectLog("out of memory");
}
