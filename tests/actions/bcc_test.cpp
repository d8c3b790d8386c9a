// Automatic blind copies.
#include <unistd.h>

#include <cstdio>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class BlindCopies : public ActionTest {
protected:
    void Prepare() override
    {
        world.users.resize(1);
        world.users.front().name = "ann";
    }

    void ExpectDownload(const std::string& action, const std::string& parameter, const char* name)
    {
        world.exportText = "a OK\nb";
        EXPECT_EQ(
            Read(action, {{action == "export_bcc" ? "bccType" : "accessType", parameter}}).output,
            Download(name, "a OK\nb"));
        NextCase();
    }

    void ExpectNoDownload(const std::string& kind, const std::string& action)
    {
        const std::string write = kind + "::export" + kind;

        world.Fail(kind + "::getInstance");
        EXPECT_EQ(Read(action).output, "");
        NextCase();

        world.Fail(write);
        EXPECT_EQ(Read(action).output, "");
        world.ExpectLog(kind == "BCC" ? "export bcc fail" : "export access fail");
        NextCase();

        // Leads nowhere: it can neither be written nor read.
        world.On(write, [this] {
            const std::string path = world.temporaryNames.begin()->first;
            std::remove(path.c_str());
            return symlink("/nonexistent/file", path.c_str());
        });
        EXPECT_EQ(Read(action).output, "");
        world.ExpectLog("rule open fail");
        NextCase();
    }
};

}  // namespace

TEST_F(BlindCopies, AnEditIsADeletionAndAnAddition)
{
    const std::string bcc = R"({"orgBccType": 1, "orgName": "o", "bccType": 0, "name": "n",
                                "bccTo": "x@y"})";
    EXPECT_EQ(Write("edit_bcc", bcc).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"BCC::getInstance", "BCC::deleteBCC [o \"\" 1]", "BCC::addBCC 0 n x@y"}));
}

TEST_F(BlindCopies, TheFirstFailureEndsAChange)
{
    ExpectFailures(R"(
add_bcc {"bccTo": "x@y"} | BCC::getInstance | system
add_bcc {"bccTo": "x@y"} | BCC::getInstance > BCC::addBCC 0 "" x@y | system
edit_bcc {"bccTo": "x@y"} | BCC::getInstance | system | load fail
edit_bcc {"bccTo": "x@y"} | BCC::getInstance > BCC::deleteBCC ["" "" 0] | system | delete bcc fail
edit_bcc {"bccTo": "x@y"} | BCC::getInstance > BCC::deleteBCC ["" "" 0]
  > BCC::addBCC 0 "" x@y | system | add bcc fail
load_bcc | BCC::getInstance | failure
delete_bcc | BCC::getInstance | failure | load fail
delete_bcc {"deleteList": [{"type": 2, "name": "n", "bccTo": "b"}]}
  | BCC::getInstance > BCC::deleteBCC [n b 2] | system
)");
}

TEST_F(BlindCopies, ATargetOfCopiesThatIsNobodyIsRefusedBeforeAnythingChanges)
{
    for (const char* action : {"add_bcc", "edit_bcc"}) {
        EXPECT_EQ(Write(action, R"({"bccTo": "nobody"})").output, Refusal("bcc", "invalid_name"));
        EXPECT_EQ(world.Calls().find("BCC::addBCC") + 1, 0U);
        EXPECT_EQ(world.Calls().find("BCC::deleteBCC") + 1, 0U);
        NextCase();

        EXPECT_EQ(Write(action, R"({"bccTo": "ann"})").output, Answer(kSuccess));
        NextCase();
    }
}

TEST_F(BlindCopies, DownloadsAreNamedByTheirList)
{
    ExpectDownload("export_bcc", "0", "sender_bcc");
    ExpectDownload("export_bcc", "5", "recipient_bcc");
    ExpectNoDownload("BCC", "export_bcc");
}

TEST_F(BlindCopies, TheCopyOfAllMailIsRowZeroOfTheList)
{
    const struct {
        std::map<std::string, std::string> parameters;
        bool counted, shown;
        const char* filter;
    } rows[] = {
        {{}, true, true, "{start 0 limit 49 search all \"\"}"},
        {{{"start", "50"}}, true, false, "{start 49 limit 50 search all \"\"}"},
        {{{"limit", "0"}}, true, true, "{start 0 limit -1 search all \"\"}"},
        {{{"start", "-1"}}, true, false, "{start -2 limit 50 search all \"\"}"},
        {{{"search_key", "Ops@"}}, true, true, "{start 0 limit 49 search all Ops@}"},
        {{{"search_key", "ops@"}}, false, false, "{start 0 limit 50 search all ops@}"},
        {{{"search_type", "name"}}, true, true, "{start 0 limit 49 search name \"\"}"},
        {{{"search_type", "name"}, {"search_key", "Ops"}},
         false,
         false,
         "{start 0 limit 50 search name Ops}"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.filter);
        world.alwaysBcc = "Ops@x";
        world.bcc = {{"n", "t", BCC_RECIPIENT}};
        Json::Value want = ParseJson(R"({"success": true, "items": []})");
        want["total"] = row.counted ? 2 : 1;
        if (row.shown) want["items"].append(ParseJson(R"({"type": 2, "bcc_to": "Ops@x"})"));
        want["items"].append(ParseJson(R"({"type": 1, "name": "n", "bcc_to": "t"})"));
        EXPECT_EQ(Read("load_bcc", row.parameters).output, Answer(Compact(want)));
        EXPECT_NE(world.Calls().find(std::string("BCC::getAllBCCList ") + row.filter),
                  std::string::npos)
            << world.Calls();
        NextCase();
    }
    EXPECT_EQ(Read("load_bcc").output, Answer(R"({"success": true, "total": 0, "items": []})"));
}
