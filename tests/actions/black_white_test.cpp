// Black and white list.
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kInstance = "Spam::getInstance";

using BlackWhiteList = ActionTest;

/// Where the filter looks for spam.
class BlackWhiteFailures : public ActionTest {
protected:
    void Prepare() override { world.spamAssassin = true; }
};

}  // namespace

TEST_F(BlackWhiteList, IsPagedAndSearched)
{
    world.blackWhite = {{"x.test", 1, 2, 3}};
    const std::string item = R"({"name": "x.test", "black_white": 1, "type": 2, "name_type": 3})";
    EXPECT_EQ(Read("load_spam_blackwhite").output,
              Answer(R"({"success": true, "total": 1, "items": [)" + item + "]}"));
    const std::string all = R"({start 0 limit 50 list -1 type -1 columns * key ""})";
    EXPECT_EQ(world.Calls(),
              Lines({kInstance, "Spam::getBlackWhiteList " + all, "Spam::countQueryData " + all}));
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
    EXPECT_EQ(world.Calls(),
              Lines({kInstance, "Spam::deleteBlackWhite {name o list 1 type 2 nameType 3}",
                     "Spam::addBlackWhite {name n list 4 type 5 nameType 6}"}));

    EXPECT_EQ(Write("delete_spam_blackwhite_list",
                    R"({"deleteList": [{"name": "n", "blackWhite": 4, "type": 5, "nameType": 6}]})")
                  .output,
              Answer(kSuccess));
    EXPECT_NE(world.Calls().find("Spam::deleteBlackWhiteList [{name n list 4 type 5 nameType 6}]"),
              std::string::npos);
}

TEST_F(BlackWhiteList, IsDownloadedThroughAFileThatIsGoneAfterwards)
{
    world.exportText = "sender x.test\n";
    EXPECT_EQ(Read("export_spam_blackwhite", {{"blackWhite", "1"}}).output,
              Download("spam.blacklist.rule", world.exportText));
    EXPECT_EQ(Read("export_spam_blackwhite", {{"blackWhite", "2"}}).output,
              Download("spam.whitelist.rule", world.exportText));
    EXPECT_EQ(Read("export_spam_blackwhite").output,
              Download("spam.whitelist.rule", world.exportText));

    const std::pair<const char*, const char*> failures[] = {
        {"Spam::getInstance", ""}, {"Spam::exportBlackWhite", "export black white fail"}};
    for (const auto& [call, log] : failures) {
        world.Fail(call);
        EXPECT_EQ(Read("export_spam_blackwhite").output, "");
        if (*log != '\0') world.ExpectLog(log);
        NextCase();
    }

    // Leads nowhere: it can neither be written nor read.
    std::string path;
    world.On("Spam::exportBlackWhite", [this, &path] {
        path = world.temporaryNames.begin()->first;
        std::remove(path.c_str());
        return symlink("/nonexistent/file", path.c_str());
    });
    EXPECT_EQ(Read("export_spam_blackwhite").output, "");
    world.ExpectLog("rule open fail");
    EXPECT_FALSE(std::filesystem::is_symlink(path));
}

TEST_F(BlackWhiteFailures, TheFirstOneEndsAnAction)
{
    ExpectFailures(R"(
load_spam_blackwhite | Spam::getInstance | system
add_spam_blackwhite_list | Spam::getInstance | system
add_spam_blackwhite_list | Spam::getInstance
  > Spam::addBlackWhite {name "" list 0 type 0 nameType 0} | system | add black white fail
edit_spam_blackwhite_list | Spam::getInstance | failure | load fail
edit_spam_blackwhite_list | Spam::getInstance
  > Spam::deleteBlackWhite {name "" list 0 type 0 nameType 0} | failure | delete black white fail
edit_spam_blackwhite_list {"name": "n"} | Spam::getInstance
  > Spam::deleteBlackWhite {name "" list 0 type 0 nameType 0}
  > Spam::addBlackWhite {name n list 0 type 0 nameType 0} | failure | add black white fail
delete_spam_blackwhite_list | Spam::getInstance | system
delete_spam_blackwhite_list {"deleteList": []} | Spam::getInstance
  > Spam::deleteBlackWhiteList [] | system | delete black white fail
apply_spam_blackwhite | Spam::GenerateBlackWhite | system | generate spam black white fail
apply_spam_blackwhite | Spam::GenerateBlackWhite > MailScanner::Service restart | system
  | mail scanner service restart fail
)");
}
