// Access lists, blind copies, sender quotas, refused attachments.
#include <unistd.h>

#include <cstdio>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class AddressRules : public ActionTest {
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

TEST_F(AddressRules, AccessListsArePagedBySearchAndCountedFirst)
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

TEST_F(AddressRules, AnEditIsADeletionAndAnAddition)
{
    const std::string access =
        R"({"orgName": "o", "orgAccessType": 1, "orgNameType": 2, "name": "n",
            "permission": "DISCARD", "accessType": 2, "nameType": 3})";
    EXPECT_EQ(Write("edit_access", access).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({"Access::getInstance", "Access::deleteAccess [o 0 1 2]",
                                    "Access::addAccess 2 3 n 2"}));
    NextCase();

    const std::string bcc = R"({"orgBccType": 1, "orgName": "o", "bccType": 0, "name": "n",
                                "bccTo": "x@y"})";
    EXPECT_EQ(Write("edit_bcc", bcc).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"BCC::getInstance", "BCC::deleteBCC [o \"\" 1]", "BCC::addBCC 0 n x@y"}));
}

TEST_F(AddressRules, TheFirstFailureEndsAChange)
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
set_attachment_filter {"add_list": ["a"], "modified_list": []} | AttachmentFilter::Add [a] | system
set_attachment_filter | AttachmentFilter::GenerateConfig | system
load_attachment_filter | AttachmentFilter::GetList "" | system
load_sender_quota | SenderQuota::GetSettingList 0 50 | system
)");
}

TEST_F(AddressRules, ATargetOfCopiesThatIsNobodyIsRefusedBeforeAnythingChanges)
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

TEST_F(AddressRules, DownloadsAreNamedByTheirList)
{
    ExpectDownload("export_access", "0", "sender_access");
    ExpectDownload("export_access", "1", "recipient_access");
    ExpectDownload("export_access", "7", "client_access");
    ExpectDownload("export_bcc", "0", "sender_bcc");
    ExpectDownload("export_bcc", "5", "recipient_bcc");
    ExpectNoDownload("Access", "export_access");
    ExpectNoDownload("BCC", "export_bcc");
}

TEST_F(AddressRules, AFailedApplyIsToldByItsMessageAlone)
{
    EXPECT_EQ(Read("apply_access_setting").output, Answer(kSuccess));
    world.Fail("Access::GenerateAccessMap");
    EXPECT_EQ(Read("apply_access_setting").output,
              Answer(R"({"errinfo": {"sec": "common", "key": "error_system"}, "success": true})"));
    world.ExpectLog("generate access map fail");
}

TEST_F(AddressRules, TheCopyOfAllMailIsRowZeroOfTheList)
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

TEST_F(AddressRules, AQuotaIsSetAfterTheAccountIsFoundAndTheServicesFollow)
{
    const std::string load = "Postfix::LoadSettings";
    const std::string user = "HLIBUserRealNameGet ann 1023";
    const std::string set = "SenderQuota::Set ann 4294967295";
    const std::string generate = "SenderQuota::GenerateConfig";
    const std::string gone = "SenderQuota::DeleteList [ann, b]";
    const char* list = R"({"delete_list": ["ann", "b"]})";
    const std::string body = R"(set_sender_quota {"sasl_sender": "ann", "quota": -1} | )" + load +
                             " > " + load + " > " + user;
    const std::string deletion = std::string("delete_sender_quota ") + list + " | " + load;
    ExpectFailures(body + " | user/no_such_user");
    ExpectFailures(body + " > " + set + " | system");
    ExpectFailures(body + " > " + set + " > " + generate + " | system");
    ExpectFailures(deletion + " | system");
    ExpectFailures(deletion + " > " + gone + " | system");
    ExpectFailures(deletion + " > " + gone + " > " + generate + " | system");

    world.postfix.Set(ParseJson(R"({"reject_sasl_sender_rate_exceed": true})"));
    world.Fail("SenderQuota::DeleteList");
    world.Fail("Postfix::Service");
    EXPECT_EQ(Write("set_sender_quota", R"({"sasl_sender": "ann", "quota": -1, "orgSetting": {}})")
                  .output,
              Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({load, load, user, "SenderQuota::DeleteList [\"\"]", set, generate,
                     "Postfix::Service restart",
                     "HLIBCExec /var/packages/Mailvane/target/scripts/memcached.sh restart"}));
    world.quotas = {{"ann", 4294967295U}};
    EXPECT_EQ(Read("load_sender_quota", {{"start", "-1"}}).output,
              Answer(R"({"success": true, "total": 1,
                         "settings": [{"sasl_sender": "ann", "quota": 4294967295}]})"));
    NextCase();

    EXPECT_EQ(Write("delete_sender_quota", list).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({load, gone, generate, "Postfix::Service restart"}));
}

TEST_F(AddressRules, AttachmentTypesAreRemovedBeforeOthersAreAddedAndListedInOrder)
{
    world.attachmentTypes = {"zip", "exe", "Doc"};
    world.Fail("AttachmentFilter::Delete");
    world.Fail("Postfix::Service");
    EXPECT_EQ(
        Write("set_attachment_filter", R"({"add_list": ["b"], "modified_list": ["b"]})").output,
        Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::Delete [b]", "AttachmentFilter::Add [b]",
                     "AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
    EXPECT_EQ(Read("load_attachment_filter", {{"query", "q"}}).output,
              Answer(R"({"success": true, "total": 3, "file_types": [{"file_type": "Doc"},
                         {"file_type": "exe"}, {"file_type": "zip"}]})"));
    NextCase();

    EXPECT_EQ(Write("set_attachment_filter").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"AttachmentFilter::GenerateConfig", "Postfix::Service restart"}));
}
