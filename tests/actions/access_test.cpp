// Access lists.
#include <unistd.h>

#include <cstdio>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class AccessLists : public ActionTest {
protected:
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

TEST_F(AccessLists, AccessListsArePagedBySearchAndCountedFirst)
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

    world.Return("Access::getTotalAccessNum {start -3 limit 7 search name k}", 9);
    EXPECT_EQ(Read("load_access",
                   {{"start", "-3"}, {"limit", "7x"}, {"search_type", "name"}, {"search_key", "k"}})
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
}

TEST_F(AccessLists, TheFirstFailureEndsAChange)
{
    ExpectFailures(R"(
load_access | Access::getInstance | failure | load fail
add_access | Access::getInstance | failure | load fail
add_access | Access::getInstance > Access::addAccess 0 0 "" 3 | failure | add access fail
edit_access | Access::getInstance | failure | load fail
edit_access | Access::getInstance > Access::deleteAccess ["" 0 0 0] | failure | delete access fail
edit_access {"permission": "OK"} | Access::getInstance > Access::deleteAccess ["" 0 0 0]
  > Access::addAccess 0 0 "" 0 | failure | add access fail
delete_access | Access::getInstance | failure | load fail
delete_access | Access::getInstance > Access::deleteAccess [] | {"success": true}
)");
}

TEST_F(AccessLists, DownloadsAreNamedByTheirList)
{
    ExpectDownload("export_access", "0", "sender_access");
    ExpectDownload("export_access", "1", "recipient_access");
    ExpectDownload("export_access", "7", "client_access");
    ExpectNoDownload("Access", "export_access");
}

TEST_F(AccessLists, AFailedApplyIsToldByItsMessageAlone)
{
    EXPECT_EQ(Read("apply_access_setting").output, Answer(kSuccess));
    world.Fail("Access::GenerateAccessMap");
    EXPECT_EQ(Read("apply_access_setting").output,
              Answer(R"({"errinfo": {"sec": "common", "key": "error_system"}, "success": true})"));
    world.ExpectLog("generate access map fail");
}
