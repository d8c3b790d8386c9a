// Pages of the spam filter: settings, rule sets, black and white list, anti-virus.
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const char kUpdatePid[] = "/var/run/hald_freshclam.pid";
const std::string kInstance = "Spam::getInstance";

using Filtering = ActionTest;
using SpamRules = Filtering;
using BlackWhiteList = Filtering;
using AntiVirusPage = Filtering;

}  // namespace

/// A table of failures where the filter looks for spam.
class FilteringFailures : public ActionTest {
protected:
    void Prepare() override { world.spamAssassin = true; }
};

TEST_F(FilteringFailures, TheFirstOneEndsAnAction)
{
    ExpectFailures(R"(
load_spam_config | MailScanner::LoadSettings | system
save_spam_config | MailScanner::LoadSettings | system
save_spam_config | MailScanner::LoadSettings > MailScanner::SaveSettings [] | system
load_adv_anti_spam | Postfix::LoadSettings | system
save_advance_anti_spam | Postfix::LoadSettings | system
save_advance_anti_spam | Postfix::LoadSettings
  > Postfix::SaveSettings [postfix service:restart] | system
load_spam_rules | Spam::getInstance | failure
save_spam_rules | Spam::getInstance | system
save_spam_rules | Spam::getInstance > Spam::isEnableSpamassassin
  > MailScanner::Service restart | system
delete_rules | Spam::getInstance | system
delete_rules | Spam::getInstance > Spam::isEnableSpamassassin > MailScanner::Service restart
  | failure | fail to restart mailscanner service
export_rule | Spam::getInstance | nothing | import rule not exit
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
fresh_clam | IsSupportAntiVirus > HLIBCProcAliveByPidFile /var/run/hald_freshclam.pid
  > HLIBCProcFork | system
)");
}

TEST_F(Filtering, ASaveRestartsTheScannerWhenItNowLooksForSpam)
{
    for (const bool on : {true, false}) {
        world.mailScanner.Set(
            ParseJson(on ? R"({"spam_enable": false})" : R"({"spam_enable": true})"));
        const std::string change = on ? R"({"spam_enable": true})" : R"({"spam_enable": false})";
        EXPECT_EQ(Write("save_spam_config", change).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), on ? "MailScanner service:restart" : "");
        EXPECT_EQ(world.mailScanner.ToJson()["spam_enable"].asBool(), on);

        Json::Value want = world.mailScanner.ToJson();
        want["success"] = true;
        EXPECT_EQ(Read("load_spam_config").output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(Filtering, TheAdvancedPageNeverAnswersThePassword)
{
    const Json::Value stored =
        ParseJson(R"({"smtp_relay_password": "secret", "smtp_enabled": false})");
    world.postfix.Set(stored);
    EXPECT_EQ(Read("load_adv_anti_spam").output.find("secret"), std::string::npos);
    EXPECT_EQ(Write("save_advance_anti_spam", R"({"smtp_port": 2525})").output, Answer(kSuccess));
    EXPECT_EQ(world.postfix.ToJson()["smtp_port"], 2525);
    EXPECT_EQ(world.postfix.ToJson()["smtp_relay_password"], "secret");
}

TEST_F(SpamRules, AreSwitchedAndRemovedOneByOne)
{
    const char* rules = R"({"modifiedList": [{"ruleName": "a", "isEnable": true},
                            {"ruleName": "b", "isEnable": false}, {}],
                            "deleteList": [{"ruleName": "a"}, {"ruleName": "b"}]})";
    world.spamRules = {{"a", false}, {"b", true}};
    world.Fail("Spam::enableRule");
    EXPECT_EQ(Write("save_spam_rules", rules).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({kInstance, "Spam::enableRule a", "Spam::disableRule b",
                                    "Spam::disableRule \"\"", "Spam::isEnableSpamassassin"}));
    EXPECT_EQ(Read("load_spam_rules").output, Answer(R"({"success": true, "total": 2, "items": [
                         {"isEnable": false, "ruleName": "a"},
                         {"isEnable": true, "ruleName": "b"}]})"));
    NextCase();

    world.spamAssassin = true;
    world.Fail("Spam::deleteRule a");
    EXPECT_EQ(Write("delete_rules", rules).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({kInstance, "Spam::deleteRule a", "Spam::deleteRule b",
                                    "Spam::isEnableSpamassassin", "MailScanner::Service restart"}));
    EXPECT_EQ(Read("load_spam_rules").output,
              Answer(R"({"success": true, "total": 0, "items": []})"));
}

TEST_F(SpamRules, AreDownloadedAsTheyWereUploaded)
{
    char path[] = "/tmp/rule.XXXXXX";
    const int descriptor = mkostemp(path, 0);
    ASSERT_EQ(write(descriptor, "body A /a/\nlast", 15), 15);
    close(descriptor);
    world.rulePaths = {{"r \"1\".cf", path}, {"no_rule", path}, {"gone", "/nonexistent/rule"}};
    EXPECT_EQ(Read("export_rule", {{"rule_name", "r \"1\".cf"}}).output,
              Download("r \"1\".cf", "body A /a/\nlast"));
    EXPECT_EQ(Read("export_rule").output, Download("(null)", "body A /a/\nlast"));
    EXPECT_EQ(Read("export_rule", {{"rule_name", "gone"}}).output, "");
    world.ExpectLog("rule open fail");
    std::remove(path);
}

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

TEST_F(AntiVirusPage, AnUpdateRunsOnceAndOutsideOfTheRequest)
{
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_NE(world.Calls().find("HLIBCProcFork"), std::string::npos);
    EXPECT_EQ(world.Calls().find("HLIBCExec"), std::string::npos);
    NextCase();

    world.livePidFiles.insert(kUpdatePid);
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls().find("HLIBCProcFork"), std::string::npos);
    NextCase();

    // The child runs the tool and is no request any more, whatever becomes of it.
    for (const int result : {0, -1}) {
        world.Return("HLIBCProcFork", 0);
        world.On("HLIBCExec /var/packages/Mailvane/target/bin/hald_anti-virus update", [result] {
            (void)!write(STDERR_FILENO, "updated", 7);
            return result;
        });
        EXPECT_EXIT(Read("fresh_clam"), testing::ExitedWithCode(0), "^updated$");
        world.Reset();
    }
}

TEST_F(AntiVirusPage, TheStatusIsFinalWhenNothingIsUnderWay)
{
    const struct {
        const char* alive;
        bool enabled;
        const char* status;
        bool final;
    } rows[] = {{"", false, "done", true},
                {"", true, "error", true},
                {kUpdatePid, true, "fresh_clam", false},
                {"/var/run/hald_anti-virus.pid", true, "service_starting", false}};
    for (const auto& row : rows) {
        world.livePidFiles.insert(row.alive);
        world.mailScanner.Set(ParseJson(row.enabled ? R"({"anti_virus_enable": true})"
                                                    : R"({"anti_virus_enable": false})"));
        Json::Value want = ParseJson(kSuccess);
        want["isFinish"] = row.final;
        want["status"] = row.status;
        EXPECT_EQ(Read("check_virus_status").output, Answer(Compact(want)));
        NextCase();
    }
}
