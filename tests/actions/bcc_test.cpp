// Automatic blind copies.
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
};

}  // namespace

TEST_F(BlindCopies, TheFirstFailureEndsAnAction)
{
    const std::string toAnn = R"({"bccTo": "ann"})";
    ExpectFailures({
        {"load_bcc", "BCC::getInstance", {}, Failed()},
        {"add_bcc", "BCC::getInstance", {}, SystemError(), toAnn},
        {"add_bcc", "BCC::addBCC", {}, SystemError(), toAnn},
        {"edit_bcc", "BCC::getInstance", {"load fail"}, SystemError(), toAnn},
        {"edit_bcc", "BCC::deleteBCC", {"delete bcc fail"}, SystemError(), toAnn},
        {"edit_bcc", "BCC::addBCC", {"add bcc fail"}, SystemError(), toAnn},
        {"delete_bcc", "BCC::getInstance", {"load fail"}, Failed()},
        {"delete_bcc",
         "BCC::deleteBCC [n b 2]",
         {},
         SystemError(),
         R"({"deleteList": [{"type": 2, "name": "n", "bccTo": "b"}]})"},
        {"export_bcc", "BCC::getInstance", {}, ""},
        {"export_bcc", "BCC::exportBCC", {"export bcc fail"}, ""},
    });
}

TEST_F(BlindCopies, ATargetThatIsNobodyIsRefusedBeforeAnythingChanges)
{
    for (const char* action : {"add_bcc", "edit_bcc"}) {
        EXPECT_EQ(Write(action, R"({"bccTo": "nobody"})").output, Refusal("bcc", "invalid_name"));
        EXPECT_FALSE(world.HasCalled("BCC::addBCC"));
        EXPECT_FALSE(world.HasCalled("BCC::deleteBCC"));
        EXPECT_EQ(Write(action, R"({"bccTo": "ann"})").output, Answer(kSuccess));
        NextCase();
    }
}

TEST_F(BlindCopies, DownloadsAreNamedByTheirList)
{
    world.exportText = "a b\nc";
    EXPECT_EQ(Read("export_bcc").output, Download("sender_bcc", "a b\nc"));
    EXPECT_EQ(Read("export_bcc", {{"bccType", "5"}}).output, Download("recipient_bcc", "a b\nc"));
    NextCase();

    LeadNowhere("BCC::exportBCC");
    EXPECT_EQ(Read("export_bcc").output, "");
    world.ExpectLog("rule open fail");
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
        {{{"search_key", "ps@"}}, true, true, "{start 0 limit 49 search all ps@}"},
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
        EXPECT_TRUE(world.HasCalled(std::string("BCC::getAllBCCList ") + row.filter));
        NextCase();
    }
    EXPECT_EQ(Read("load_bcc").output, Answer(R"({"success": true, "total": 0, "items": []})"));
}
