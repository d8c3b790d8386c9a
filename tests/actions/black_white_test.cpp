// Black and white list.
#include <algorithm>
#include <filesystem>

#include "tests/recording/action_test.h"

using namespace recording;

using BlackWhiteList = ActionTest;

TEST_F(BlackWhiteList, IsPagedAndSearched)
{
    world.blackWhite = {{"x.test", 1, 2, 3}};
    const std::string item = R"({"name": "x.test", "black_white": 1, "type": 2, "name_type": 3})";
    EXPECT_EQ(Read("load_spam_blackwhite").output,
              Answer(R"({"success": true, "total": 1, "items": [)" + item + "]}"));
    const std::string all = R"({start 0 limit 50 list -1 type -1 columns * key ""})";
    EXPECT_EQ(world.Calls(), Lines({"Spam::getInstance", "Spam::getBlackWhiteList " + all,
                                    "Spam::countQueryData " + all}));
    NextCase();

    world.Return("Spam::countQueryData {start 7 limit -1 list 1 type -1 columns * key k}", -5);
    EXPECT_EQ(Read("load_spam_blackwhite",
                   {{"start", "7x"}, {"limit", "-1"}, {"search_type", "1"}, {"search_key", "k"}})
                  .output,
              Answer(R"({"success": true, "total": -5, "items": []})"));
}

TEST_F(BlackWhiteList, AnEditIsADeletionAndAnAddition)
{
    EXPECT_EQ(Write("edit_spam_blackwhite_list",
                    R"({"orgName": "o", "orgBlackWhite": 1, "orgType": 2, "orgNameType": 3,
                        "name": "n", "blackWhite": 4, "type": 5, "nameType": 6})")
                  .output,
              Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({"Spam::getInstance",
                                    "Spam::deleteBlackWhite {name o list 1 type 2 nameType 3}",
                                    "Spam::addBlackWhite {name n list 4 type 5 nameType 6}"}));
}

TEST_F(BlackWhiteList, IsDownloadedThroughAFileThatIsGoneAfterwards)
{
    world.exportText = "sender x.test\n";
    for (const auto& [list, name] :
         std::map<std::string, std::string>{{"1", "spam.blacklist.rule"},
                                            {"2", "spam.whitelist.rule"},
                                            {"", "spam.whitelist.rule"}}) {
        EXPECT_EQ(Read("export_spam_blackwhite", {{"blackWhite", list}}).output,
                  Download(name, world.exportText));
    }
    const auto isGone = [](const auto& made) {
        return !std::filesystem::exists(std::filesystem::symlink_status(made.first));
    };
    const auto& made = world.temporaryNames;
    EXPECT_TRUE(std::all_of(made.begin(), made.end(), isGone));
    NextCase();

    LeadNowhere("Spam::exportBlackWhite");
    EXPECT_EQ(Read("export_spam_blackwhite").output, "");
    world.ExpectLog("rule open fail");
    EXPECT_TRUE(std::all_of(made.begin(), made.end(), isGone));
}

TEST_F(BlackWhiteList, TheFirstFailureEndsAnAction)
{
    const std::string add = "Spam::addBlackWhite";
    const std::string remove = "Spam::deleteBlackWhite";
    ExpectFailures({
        {"load_spam_blackwhite", "Spam::getInstance"},
        {"add_spam_blackwhite_list", "Spam::getInstance"},
        {"add_spam_blackwhite_list", add, {"add black white fail"}},
        {"edit_spam_blackwhite_list", "Spam::getInstance", {"load fail"}, Failed()},
        {"edit_spam_blackwhite_list", remove, {"delete black white fail"}, Failed()},
        {"edit_spam_blackwhite_list", add, {"add black white fail"}, Failed()},
        {"delete_spam_blackwhite_list", "Spam::getInstance"},
        {"delete_spam_blackwhite_list", "Spam::deleteBlackWhiteList", {"delete black white fail"}},
        {"apply_spam_blackwhite", "Spam::GenerateBlackWhite", {"generate spam black white fail"}},
        {"apply_spam_blackwhite",
         "MailScanner::Service restart",
         {"mail scanner service restart fail"}},
    });

    world.Fail("Spam::getInstance");
    EXPECT_EQ(Read("export_spam_blackwhite").output, "");
    NextCase();
    world.Fail("Spam::exportBlackWhite");
    EXPECT_EQ(Read("export_spam_blackwhite").output, "");
    world.ExpectLog("export black white fail");
}
