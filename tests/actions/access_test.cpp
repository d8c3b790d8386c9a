// Access lists.
#include "tests/recording/action_test.h"

using namespace recording;

using AccessLists = ActionTest;

TEST_F(AccessLists, ArePagedBySearchAndCountedFirst)
{
    world.access = {{"b", ACCESS_REJECT, TYPE_CLIENT, NAME_NETWORK}, {"a"}};
    EXPECT_EQ(Read("load_access").output, Answer(R"({"success": true, "total": 2, "items": [
                  {"type": 2, "name_type": 4, "name": "b", "status": "REJECT"},
                  {"type": 0, "name_type": 0, "name": "a", "status": "OK"}]})"));
    EXPECT_EQ(world.Calls(), Lines({"Access::getInstance",
                                    "Access::getTotalAccessNum {start 0 limit 50 search all \"\"}",
                                    "Access::getAllAccessList {start 0 limit 50 search all \"\"}",
                                    "Access::~Access"}));
    NextCase();

    world.Return("Access::getTotalAccessNum {start -10 limit 7 search name k}", 9);
    EXPECT_EQ(
        Read("load_access",
             {{"start", "-010"}, {"limit", "7x"}, {"search_type", "name"}, {"search_key", "k"}})
            .output,
        Answer(R"({"success": true, "total": 9, "items": []})"));
}

TEST_F(AccessLists, AnEditIsADeletionAndAnAddition)
{
    const std::string access =
        R"({"orgName": "o", "orgAccessType": 1, "orgNameType": 2, "name": "n",
            "permission": "DISCARD", "accessType": 2, "nameType": 3})";
    EXPECT_EQ(Write("edit_access", access).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({"Access::getInstance", "Access::deleteAccess [o 0 1 2]",
                                    "Access::addAccess 2 3 n 2"}));
    const char* listed = R"({"deleteList": [{"name": "o", "type": 1, "nameType": 2}]})";
    EXPECT_EQ(Write("delete_access", listed).output, Answer(kSuccess));
    EXPECT_TRUE(world.LastCallIs("Access::deleteAccess [o 0 1 2]")) << world.Calls();
}

TEST_F(AccessLists, TheFirstFailureEndsAnAction)
{
    ExpectFailures({
        {"load_access", "Access::getInstance", {"load fail"}, Failed()},
        {"add_access", "Access::getInstance", {"load fail"}, Failed()},
        {"add_access", "Access::addAccess 0 0 \"\" 3", {"add access fail"}, Failed()},
        {"edit_access", "Access::getInstance", {"load fail"}, Failed()},
        {"edit_access", "Access::deleteAccess", {"delete access fail"}, Failed()},
        {"edit_access", "Access::addAccess", {"add access fail"}, Failed()},
        {"delete_access", "Access::getInstance", {"load fail"}, Failed()},
        {"delete_access", "Access::deleteAccess", {}, Answer(kSuccess)},
        {"export_access", "Access::getInstance", {}, ""},
        {"export_access", "Access::exportAccess", {"export access fail"}, ""},
    });
}

TEST_F(AccessLists, DownloadsAreNamedByTheirList)
{
    world.exportText = "a OK\nb";
    for (const auto& [type, name] : std::map<std::string, std::string>{
             {"0", "sender_access"}, {"1", "recipient_access"}, {"7", "client_access"}}) {
        EXPECT_EQ(Read("export_access", {{"accessType", type}}).output, Download(name, "a OK\nb"));
    }
    EXPECT_EQ(Read("export_access").output, Download("sender_access", "a OK\nb"));
    NextCase();

    LeadNowhere("Access::exportAccess");
    EXPECT_EQ(Read("export_access").output, "");
    world.ExpectLog("rule open fail");
}

TEST_F(AccessLists, AFailedApplyIsToldByItsMessageAlone)
{
    EXPECT_EQ(Read("apply_access_setting").output, Answer(kSuccess));
    world.Fail("Access::GenerateAccessMap");
    EXPECT_EQ(Read("apply_access_setting").output,
              Answer(R"({"errinfo": {"sec": "common", "key": "error_system"}, "success": true})"));
    world.ExpectLog("generate access map fail");
}
