// Rule sets of the spam filter.
#include <unistd.h>

#include <cstdio>

#include "tests/recording/action_test.h"

using namespace recording;

using SpamRules = ActionTest;

TEST_F(SpamRules, AreSwitchedAndRemovedOneByOne)
{
    const char* rules = R"({"modifiedList": [{"ruleName": "a", "isEnable": true},
                            {"ruleName": "b", "isEnable": false}, {}],
                            "deleteList": [{"ruleName": "a"}, {"ruleName": "b"}]})";
    world.spamRules = {{"a", false}, {"b", true}};
    world.Fail("Spam::enableRule");
    EXPECT_EQ(Write("save_spam_rules", rules).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({"Spam::getInstance", "Spam::enableRule a", "Spam::disableRule b",
                     "Spam::disableRule \"\"", "Spam::isEnableSpamassassin"}));
    EXPECT_EQ(Read("load_spam_rules").output, Answer(R"({"success": true, "total": 2, "items": [
                         {"isEnable": false, "ruleName": "a"},
                         {"isEnable": true, "ruleName": "b"}]})"));
    NextCase();

    world.spamAssassin = true;
    world.Fail("Spam::deleteRule a");
    EXPECT_EQ(Write("delete_rules", rules).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({"Spam::getInstance", "Spam::deleteRule a", "Spam::deleteRule b",
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
    EXPECT_EQ(Read("export_rule", {{"rule_name", "none"}}).output, "");
    world.ExpectLog("import rule not exit");
    std::remove(path);
}

TEST_F(SpamRules, TheFirstFailureEndsAnAction)
{
    ExpectFailures({
        {"load_spam_rules", "Spam::getInstance", {}, Failed()},
        {"save_spam_rules", "Spam::getInstance"},
        {"delete_rules", "Spam::getInstance"},
    });

    const std::string restart = "MailScanner::Service restart";
    world.spamAssassin = true;
    world.Fail(restart);
    EXPECT_EQ(Write("save_spam_rules").output, SystemError());
    EXPECT_EQ(Write("delete_rules").output, Failed());
    world.ExpectLog("fail to restart mailscanner service");
}
