// Aliases: the list, one alias, deletion, export.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class Aliases : public ActionTest {
protected:
    void Prepare() override
    {
        world.aliases = {{"sales", {{"bob", 0}, {"staff", 1}, {"team", 2}, {"x@y.example", 3}}},
                         {"Team", {{"font", 0}, {"a@b.example", 3}, {"c@d.example", 3}}},
                         {"empty", {}}};
    }

    /// Names of the listed aliases and the total.
    std::string Listed(std::map<std::string, std::string> parameters)
    {
        const std::string output = Read("alias_enum", std::move(parameters)).output;
        const Json::Value answer = ParseJson(output.substr(output.find('\n')));
        std::string text;
        for (const Json::Value& item : answer["items"]) text += item["alias_name"].asString() + " ";
        return text + "of " + answer["total"].asString();
    }
};

}  // namespace

TEST_F(Aliases, AreListedWithTheirMembersColouredByKind)
{
    EXPECT_EQ(Read("alias_enum", {{"limit", "2"}, {"query", "B.EXAMPLE"}}).output,
              Answer(R"({"success": true, "total": 1, "items": [{"alias_name": "Team",
                  "alias_member": "font, a@b.example, c@d.example"}]})"));
    EXPECT_EQ(Read("alias_enum", {{"limit", "1"}}).output,
              Answer(R"({"success": true, "total": 3, "items": [{"alias_name": "sales",
                  "alias_member": "bob, <font color=#115ba6>staff</font>, )"
                     R"(<font color=#7a3d99>team</font>, x@y.example"}]})"));
    EXPECT_EQ(Read("alias_enum", {{"query", "none"}}).output,
              Answer(R"({"success": true, "total": 0, "items": []})"));
}

TEST_F(Aliases, AreSearchedByPlainNamesAndPaged)
{
    const struct {
        const char *query, *start, *limit, *want;
    } rows[] = {
        {"", "1", "1", "Team of 3"},
        {"", "3", "50", "of 3"},
        {"", "-5", "6", "sales of 3"},
        {"", "0", "-1", "of 3"},
        {"", "1", "9223372036854775807", "Team empty of 3"},
        {"", "x", "2x", "sales Team of 3"},
        {"TEAM", "0", "9", "sales Team of 2"},
        {"tEaM", "1", "9", "Team of 2"},
        {"font", "0", "9", "Team of 1"},
        {"#115ba6", "0", "9", "of 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.query) + " " + row.start + " " + row.limit);
        EXPECT_EQ(Listed({{"query", row.query}, {"start", row.start}, {"limit", row.limit}}),
                  row.want);
        NextCase();
    }
    EXPECT_EQ(Listed({}), "of 3");
}

TEST_F(Aliases, ThatCannotBeComparedDoNotMatch)
{
    world.Fail("HLIBCUnicodeUTF8StrUpper sales");
    EXPECT_EQ(Listed({{"query", "e"}, {"limit", "9"}}), "sales Team empty of 3") << "by a member";
    world.ExpectLog("HLIBCUnicodeUTF8StrUpper failed, szStr=sales.");
    EXPECT_EQ(Listed({{"limit", "9"}}), "sales Team empty of 3") << "nothing is compared";
    world.aliases = {{"stra\xc3\x9f", {}}};
    EXPECT_EQ(Listed({{"query", "STRA\xe1\xba\x9e"}}), "of 1") << "longer in upper case";
}

TEST_F(Aliases, ThatCannotBeReadOrChangedStayAsTheyAre)
{
    const std::string page = R"({"limit": "9"})";
    const std::string first = R"({"limit": "1"})";
    const std::string sales = R"({"aliasname": "sales"})";
    const std::string change =
        R"({"aliasname": "new", "member": [{"name": "b"}, {"name": "a", "is_join": true}]})";
    const std::string ofDeletion = Answer(R"({"success": false,
                   "errinfo": {"sec": "msg", "key": "error_system", "line": 2860}})");
    ExpectFailures({
        {"alias_enum", "Alias::load", {"Fail to load alias info"}, SystemError(), page},
        {"alias_enum", "Alias::loadMember sales", {"Fail to load member"}, SystemError(), page},
        {"alias_enum", "Alias::loadMember empty", {"Fail to load member"}, SystemError(), first},
        {"load_extaddr", "Alias::load", {"Fail to load alias info"}, Failed(), sales},
        {"load_extaddr", "Alias::loadMember sales", {"Fail to load member"}, Failed(), sales},
        {"apply_alias_info", "Alias::load", {"Fail to load alias info"}, SystemError(), change},
        {"apply_alias_info", "Alias::addMember", {"Fail to add member"}, SystemError(), change},
        {"apply_alias_info", "Alias::delMember", {"Fail to delete member"}, SystemError(), change},
        {"apply_alias_info", "Alias::save", {"Fail to save alias"}, SystemError(), change},
        {"alias_del", "Alias::load", {"Fail to load alias info"}, ofDeletion},
        {"alias_del", "Alias::delAlias", {"Fail to delete alias"}, ofDeletion},
        {"alias_del", "Alias::save", {"Fail to save alias"}, ofDeletion},
        {"export_alias", "Alias::load", {"alias load fail"}, ""},
        {"export_alias", "Alias::ExportAlias", {"export alias fail"}, ""},
    });

    EXPECT_EQ(Read("load_extaddr").output, Failed()) << "no such alias";
    world.ExpectLog("Fail to load member");
}

TEST_F(Aliases, TakeNoNameThatAnotherOneHas)
{
    for (const char* before : {"", "empty"}) {
        const std::string body = R"({"aliasname": "sales", "orgalias": ")";
        EXPECT_EQ(Write("apply_alias_info", body + before + "\"}").output,
                  Refusal("error", "alias_conflict"));
        EXPECT_EQ(world.Calls(), Lines({"Alias::load"}));
        NextCase();
    }
}

TEST_F(Aliases, AreChangedAndSavedOnce)
{
    const struct {
        const char* body;
        std::string calls;
    } rows[] = {
        {R"({"aliasname": "new", "member": [{"name": "a", "type": 1, "is_join": true},
            {"name": "b", "type": 7}, {"name": "c", "is_join": true}]})",
         "Alias::addMember new [a 1, c 0]\nAlias::delMember new [b 7]\n"},
        {R"({"aliasname": "sales", "orgalias": "sales", "member": [{"name": "bob"}]})",
         "Alias::delMember sales [bob 0]\n"},
        {R"({"aliasname": "sold", "orgalias": "sales", "member": []})",
         "Alias::changeAliasName sales sold\n"},
        {R"({"aliasname": "team", "orgalias": "sales", "member": [{"name": "z", "is_join": true}]})",
         "Alias::changeAliasName sales team\nAlias::addMember team [z 0]\n"},
        {R"({"aliasname": "gone", "orgalias": "none"})", "Alias::changeAliasName none gone\n"},
        {"{}", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        if (row.calls.find("change") != std::string::npos) world.Fail("Alias::changeAliasName");
        EXPECT_EQ(Write("apply_alias_info", row.body).output, Answer(kSuccess));
        EXPECT_EQ(world.Calls(), "Alias::load\n" + row.calls + "Alias::save\n");
        NextCase();
    }
}

TEST_F(Aliases, AreDownloadedOrNothingIsAnswered)
{
    world.exportText = "sales: bob\nteam:";
    EXPECT_EQ(Read("export_alias").output, Download("aliases", "sales: bob\nteam:"));
    EXPECT_EQ(world.Calls(), Lines({"mkstemp /tmp/aliasesXXXXXX", "Alias::load",
                                    "Alias::ExportAlias /tmp/aliasesXXXXXX"}));
    NextCase();

    LeadNowhere("Alias::ExportAlias");
    EXPECT_EQ(Read("export_alias").output, "");
    world.ExpectLog("alias open fail");
}
