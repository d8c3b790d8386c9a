// What the spam filter is given: rule files, hostile until read, the black and the white list.
#include <unistd.h>

#include <filesystem>

#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/names/spam_rule_text.h"
#include "host/libmailvane/save/list_change.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/spam.h"
#include "tests/host/libmailvane/lists/machine.h"

namespace {

class Filtering : public ListMachine {
protected:
    void SetUp() override
    {
        ListMachine::SetUp();
        spam = Spam::getInstance();
        ASSERT_NE(spam, nullptr);
    }

    int Import(BlackWhiteType list, const std::string& text)
    {
        Write(File(), text);
        return spam->importBlackWhite(list, File());
    }

    std::string Export(BlackWhiteType list)
    {
        return spam->exportBlackWhite(list, File()) < 0 ? "failed" : Contents(File());
    }

    int Count(int list = -1, int type = -1, const std::string& key = "")
    {
        return spam->countQueryData({0, 0, list, type, "*", key});
    }

    Spam* spam = nullptr;
};
using RuleFiles = Filtering;
using BlackWhiteLists = Filtering;

}  // namespace

TEST(RuleLines, AreRulesAndNothingElse)
{
    const char* const rules[] = {
        "body ZEBRA /\\bzebra\\b/i",
        "header __FROM_X From:addr =~ /x@y\\.test$/ [if-unset: nobody@y.test]",
        "header H eval:check_for_forged_received_trail('a, b')",
        "uri U m{^https?://x\\.test/(?:a|b)}",
        "full F /(?i:x)(?=y)/",
        "meta M (A && !__B) || (C + D >= 2)",
        "score ZEBRA (0.1) -1.5 0 3",
        "describe ZEBRA It's about $zebras, `again`",
        "tflags ZEBRA nice noautolearn maxhits=3",
    };
    for (const char* line : rules) EXPECT_TRUE(host::names::CheckRuleLine(line)) << line;

    const char* const others[] = {
        "LoadPlugin Evil /tmp/evil.pm",
        "lang en include /etc/shadow",
        "lang en body A /a/",
        "if (system('id'))",
        "bayes_path /tmp/x",
        "whitelist_from *@x.test",
        "body A",
        "body A; /a/",
        "body \xc2\xa0 /a/",
        "body A /(? { system('id') })/x",
        "body A /(??{ 1 })/",
        "body A /(*{ 1 })/",
        "header A X =~ /a(?{1})/",
        "header A eval:read_file('/etc/shadow')",
        "body A eval:f(\"../x/y\")",
        "meta A system('id')",
        "meta A `id`",
        "score A 1; system",
        "tflags A /etc",
    };
    for (const char* line : others) EXPECT_FALSE(host::names::CheckRuleLine(line)) << line;
    EXPECT_FALSE(host::names::CheckRuleLine("body A /" + std::string(5000, 'a') + "/"));
    EXPECT_FALSE(host::names::CheckRuleLine("body " + std::string(101, 'A') + " /a/"));
}

TEST_F(RuleFiles, AreReadWithoutCommentsAndRefusedAsAWhole)
{
    const std::pair<std::string, const char*> rows[] = {
        {"\xef\xbb\xbf# mine\r\n\r\n body  A\t/a\\#b/ # says a\r\nscore A 3",
         "body  A /a\\#b/\nscore A 3\n"},
        {"body A /a/\nloadplugin Evil /tmp/evil.pm\n", "refused"},
        {"body A /a/\rinclude /etc/shadow\n", "refused"},
        {"body A /a/ #\ninclude /etc/shadow", "refused"},
        {"body A /a/ \\# x\vinclude y\n", "refused"},
        {std::string("body A /a/\0include", 18), "refused"},
        {"describe A caf\xe9\n", "refused"},
        {std::string((1U << 20) + 1, '\n'), "refused"},
    };
    for (const auto& [text, rules] : rows) {
        Write(File(), text);
        const auto read = host::names::ReadRuleFile(File());
        EXPECT_EQ(read ? *read : "refused", rules) << text.substr(0, 80);
    }
    ASSERT_EQ(0, symlink(File().c_str(), (root + "/link").c_str()));
    EXPECT_FALSE(host::names::ReadRuleFile(root + "/link"));
}

TEST_F(RuleFiles, AreFoundByTheirNameAloneAndAreDisabledUntilTheyPass)
{
    const std::string rules = host::PackagePath("etc/rules/");
    Write(rules + "a b.cf", "body A /a/\n");
    Write(rules + "bad.cf", "include /etc/shadow\n");
    Write(rules + ".hidden", "body A /a/\n");
    Write(rules + "sub/x.cf", "body A /a/\n");
    Write(root + "/outside", "kept");
    ASSERT_EQ(0, symlink((root + "/outside").c_str(), (rules + "link.cf").c_str()));
    std::string listed;
    for (const SpamRule& rule : spam->getSpamRules()) {
        listed += rule.name + (rule.enabled ? " on;" : " off;");
    }
    EXPECT_EQ(listed, "a b.cf off;bad.cf off;");
    EXPECT_EQ(spam->GetImportRulePath("a b.cf"), rules + "a b.cf");
    EXPECT_EQ(-1, spam->enableRule("bad.cf"));
    for (const std::string name : {"", ".", "..", "../mailvane.conf", "sub/x.cf", "/etc/passwd",
                                   ".hidden", "link.cf", "none", "x\ny", "<b>", " a b.cf"}) {
        EXPECT_EQ(spam->GetImportRulePath(name), "") << name;
        EXPECT_EQ(-1, spam->enableRule(name)) << name;
        EXPECT_EQ(-1, spam->deleteRule(name)) << name;
    }
    EXPECT_EQ(0, spam->deleteRule("bad.cf"));
    EXPECT_EQ(1, spam->getSpamRules().size());
    EXPECT_EQ("kept", Contents(root + "/outside"));
}

TEST_F(RuleFiles, LeaveNothingBehindWhenTheirUploadIsRefused)
{
    const std::string rules = host::PackagePath("etc/rules/");
    Write(rules + "good.cf", "body A /a/\n");
    host::NoteRequest({host::kUploadAction});
    for (const std::string name : {".hidden", "a<b>", " lead", "bad.cf", "good.cf"}) {
        Write(rules + name, "include /etc/shadow\n");
        EXPECT_EQ(-1, spam->enableRule(name));
    }
    Write(rules + "mailvane-upload.AbCdEf", "body A /a/\n");  // moved to a name that is a folder
    EXPECT_EQ(-1, spam->enableRule(""));
    host::NoteRequest({});
    EXPECT_TRUE(std::filesystem::is_empty(rules));
}

TEST_F(BlackWhiteLists, ANameStandsOnOneOfThem)
{
    const BlackWhite black = {"Spam@X.Test", BLACK_LIST, TYPE_SENDER, NAME_ADDRESS};
    const BlackWhite white = {"spam@x.test", 2, TYPE_SENDER, NAME_ADDRESS};
    EXPECT_EQ(0, spam->addBlackWhite(black));
    EXPECT_EQ(-1, spam->addBlackWhite(black));
    EXPECT_EQ(-1, spam->addBlackWhite(white));
    EXPECT_EQ(-1, Import(WHITE_LIST, "other@x.test\nspam@x.test\n"));
    EXPECT_EQ(0, Import(BLACK_LIST, "other@x.test\nspam@x.test\n"));
    EXPECT_EQ(2, Count());
    EXPECT_EQ(0, spam->deleteBlackWhiteList({black, {"other@x.test", 1, 0, 0}}));
    EXPECT_EQ(0, spam->addBlackWhite(white));
    EXPECT_EQ(0, spam->deleteBlackWhite(black));
    EXPECT_EQ(1, Count()) << "the white one stays";

    const BlackWhite refused[] = {{"a b@x.test", 1, TYPE_SENDER, NAME_ADDRESS},
                                  {"x.test\ny.test", 1, TYPE_SENDER, NAME_DOMAIN},
                                  {"10.0.0.1", 1, TYPE_SENDER, NAME_IP},
                                  {"10.0.0.0/33", 1, TYPE_CLIENT, NAME_NETWORK},
                                  {"x.test", 1, -1, NAME_DOMAIN},
                                  {"x.test", 1, TYPE_SENDER, 9}};
    for (const BlackWhite& entry : refused) EXPECT_EQ(-1, spam->addBlackWhite(entry)) << entry.name;
    EXPECT_EQ(1, Count());
}

TEST_F(BlackWhiteLists, AreSearchedAndPaged)
{
    ASSERT_EQ(0, Import(BLACK_LIST, "a@x.test\nrecipient b@x.test\n10.0.0.1\n"));
    ASSERT_EQ(0, Import(WHITE_LIST, "c%@x.test\n.x.test\n"));
    std::string names;
    for (const BlackWhite& entry : spam->getBlackWhiteList({1, 3, -1, -1, "*", ""})) {
        names += entry.name + " ";
    }
    EXPECT_EQ(names, "c%@x.test x.test b@x.test ");
    EXPECT_EQ(3, Count(BLACK_LIST));
    EXPECT_EQ(1, Count(-1, TYPE_RECIPIENT));
    EXPECT_EQ(1, Count(-1, -1, "%"));
    EXPECT_EQ(4, Count(-1, -1, "X.TEST"));
}

TEST_F(BlackWhiteLists, SurviveExportAndImport)
{
    const std::string text =
        "sender a@x.test\nsender x.test\nsender .x.test\nrecipient b@x.test\n"
        "client 10.0.0.0/8\nclient 2001:db8::1\n";
    ASSERT_EQ(0, Import(BLACK_LIST,
                        "# all\r\n\r\nA@x.test\r\nrecipient\tb@x.test\r.X.test\nx.test\n"
                        "client   10.1.2.3/8\n2001:DB8::1\nsender a@x.test\n"));
    EXPECT_EQ(Export(BLACK_LIST), text);
    EXPECT_EQ(0, Import(BLACK_LIST, text));
    EXPECT_EQ(Export(BLACK_LIST), text);
    for (const char* bad : {"new@x.test\nsender\n", "new@x.test\nclient x.test\n",
                            "new@x.test\nsender x@x.test y\n", "new@x.test\n\xff@x.test\n"}) {
        EXPECT_EQ(-1, Import(BLACK_LIST, bad)) << bad;
    }
    EXPECT_EQ(Export(BLACK_LIST), text);
}

TEST_F(BlackWhiteLists, TheNearestEntryCountsInEveryFile)
{
    ASSERT_EQ(0, Import(BLACK_LIST, ".x.test\nbad@x.test\nrecipient b@y.test\n10.0.0.0/8\n"));
    ASSERT_EQ(0, Import(WHITE_LIST, "x.test\nrecipient y.test\n10.0.0.1\n10.1.0.0/16\n"));
    const std::pair<const char*, const char*> files[] = {
        {"black_senders", "bad@x.test REJECT\nx.test DUNNO\n.x.test REJECT\n"},
        {"black_recipients", "b@y.test REJECT\ny.test DUNNO\n"},
        {"postfix/maps/black_clients", "10.0.0.1 DUNNO\n10.1.0.0/16 DUNNO\n10.0.0.0/8 REJECT\n"},
        {"amavis/white_senders", "!bad@x.test\nx.test\n!.x.test\n"},
        {"amavis/black_recipients", "b@y.test\n!y.test\n"},
        {"amavis/white_recipients", "!b@y.test\ny.test\n"},
        {"amavis/black_clients", "!10.0.0.1\n!10.1.0.0/16\n10.0.0.0/8\n"},
        {"amavis/white_clients", "10.0.0.1\n10.1.0.0/16\n!10.0.0.0/8\n"},
    };
    const std::vector<host::generation::ListFile> made =
        *host::save::StoredListFiles({&host::render::kBlackWhiteList}, {});
    ASSERT_EQ(made.size(), std::size(files));
    for (std::size_t i = 0; i < made.size(); ++i) {
        EXPECT_EQ(made[i].name, files[i].first);
        EXPECT_EQ(Whole(made[i].text), files[i].second) << files[i].first;
    }
}
