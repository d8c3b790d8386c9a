// Who may become a member of an alias.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using Parameters = std::map<std::string, std::string>;

class Candidates : public ActionTest {
protected:
    void Prepare() override
    {
        for (const char* name : {"alice", "bob", "carol"}) AddUser(name);
        AddUser("winner").source = 2;
        AddUser("dirk").source = 8;
        world.groups = {
            {"staff", 1, {"alice", "bob"}}, {"empty", 1, {}}, {"corp", 2, {}}, {"ldaps", 8, {}}};
        world.aliases = {{"sales", {{"bob", 0}, {"zoe", 0}, {"staff", 1}, {"x@y.example", 3}}},
                         {"team", {{"sales", 2}}},
                         {"Sales", {}}};
    }

    /// The items as "name status", with "+" for a member.
    std::string Listed(const Parameters& parameters)
    {
        const std::string output = Read("alias_mem_enum", parameters).output;
        const Json::Value answer = ParseJson(output.substr(output.find('\n')));
        std::string text;
        for (const Json::Value& item : answer["items"]) {
            text += (item["is_join"].asBool() ? "+" : "") + item["name"].asString() +
                    (item.isMember("status") ? " " + item["status"].asString() : "") + ", ";
        }
        return text + answer["total"].asString() + " and " + answer["joined_num"].asString();
    }

    Account& AddUser(const std::string& name)
    {
        world.users.emplace_back();
        world.users.back().name = name;
        return world.users.back();
    }
};

}  // namespace

TEST_F(Candidates, AreOfTheKindAndTheSourceAskedFor)
{
    const struct {
        const char *settings, *filter, *call, *want;
    } rows[] = {
        {"{}", "user", "HLIBUserEnum 1 null", "alice 1, bob 1, carol 1, 3 and 0"},
        {"{}", "Localgrp", "HLIBUserEnum 1 null", "alice 1, bob 1, carol 1, 3 and 0"},
        {"{}", nullptr, "HLIBUserEnum 1 null", "alice 1, bob 1, carol 1, 3 and 0"},
        {"{}", "localgrp", "HLIBGroupEnum 1 null", "staff 1, empty 1, 2 and 0"},
        {R"({"account_type": "win", "win_domain_short_name": "CORP"})", "", "HLIBUserEnum 2 CORP",
         "winner 1, 1 and 0"},
        {R"({"account_type": "win"})", "localgrp", "HLIBGroupEnum 2 \"\"", "corp 1, 1 and 0"},
        {R"({"account_type": "ldap"})", "", "HLIBUserEnum 8 null", "dirk 1, 1 and 0"},
        {R"({"account_type": "ldap"})", "localgrp", "HLIBGroupEnum 8 null", "ldaps 1, 1 and 0"},
        {R"({"account_type": "other"})", "alias", "Alias::load",
         "sales 1, team 1, Sales 1, 3 and 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.settings) + " " + row.call);
        world.postfix.Set(ParseJson(row.settings));
        Parameters parameters = {{"limit", "9"}};
        if (row.filter != nullptr) parameters["rolefilter"] = row.filter;
        EXPECT_EQ(Listed(parameters), row.want);
        EXPECT_NE(world.Calls().find("\n" + std::string(row.call) + "\n"), std::string::npos)
            << world.Calls();
        NextCase();
    }
}

TEST_F(Candidates, ArePagedAndFollowedByTheOtherMembers)
{
    const std::pair<Parameters, const char*> rows[] = {
        {{}, "3 and 0"},
        {{{"aliasname", "sales"}, {"limit", "1"}}, "alice 1, 3 and 0"},
        {{{"aliasname", "sales"}, {"actionop", "Edit"}}, "3 and 0"},
        {{{"aliasname", "sales"}, {"actionop", "edit"}}, "+bob, +zoe, 3 and 4"},
        {{{"aliasname", "sales"}, {"actionop", "edit"}, {"start", "1"}, {"limit", "1"}},
         "+bob 1, +zoe, 3 and 4"},
        {{{"aliasname", "sales"}, {"actionop", "edit"}, {"query", "AR"}, {"limit", "9"}},
         "carol 1, +bob, +zoe, 1 and 4"},
        {{{"start", "-1"}, {"limit", "2"}}, "alice 1, 3 and 0"},
        {{{"start", "7"}, {"limit", "2"}}, "3 and 0"},
        {{{"aliasname", "sales"}, {"rolefilter", "alias"}, {"limit", "9"}},
         "team 1, Sales 1, 2 and 0"},
        {{{"aliasname", "team"}, {"rolefilter", "alias"}, {"limit", "9"}, {"actionop", "edit"}},
         "+sales 1, Sales 1, 2 and 1"},
        {{{"aliasname", "sales"}, {"rolefilter", "localgrp"}, {"actionop", "edit"}, {"limit", "1"}},
         "+staff 1, 2 and 4"},
    };
    for (const auto& [parameters, want] : rows) {
        SCOPED_TRACE(want);
        EXPECT_EQ(Listed(parameters), want);
        NextCase();
    }
}

TEST_F(Candidates, CarryTheStatusOfTheirAccounts)
{
    const struct {
        std::function<void(Account&)> change;
        const char *user, *group;
    } rows[] = {
        {[](Account&) {}, "new 1, 4 and 0", "staff 1, 1 and 0"},
        {[](Account& user) { user.expired = true; }, "new 2, 4 and 0", "staff 4, 1 and 0"},
        {[](Account& user) { user.ownName = "a b"; }, "new 3, 4 and 0", "staff 4, 1 and 0"},
        {[](Account& user) { user.ownName = "a b", user.expired = true; }, "new 3, 4 and 0",
         "staff 4, 1 and 0"},
        {[](Account& user) { user.ownName = "\x80"; }, "new 3, 4 and 0", "staff 4, 1 and 0"},
        {[](Account& user) { user.hasOwnName = false; }, "new 3, 4 and 0", "staff 4, 1 and 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.user);
        row.change(AddUser("new"));
        world.groups = {{"staff", 1, {"alice", "new", "none"}}};
        if (std::string(row.group) == "staff 1, 1 and 0") world.groups.front().members.pop_back();
        EXPECT_EQ(Listed({{"start", "3"}, {"limit", "1"}}), row.user);
        EXPECT_EQ(Listed({{"rolefilter", "localgrp"}, {"limit", "1"}}), row.group);
        NextCase();
    }
}

TEST_F(Candidates, OfUnknownStatusAreListedAllTheSame)
{
    const Parameters groups = {{"rolefilter", "localgrp"}, {"limit", "1"}};
    world.Fail("HALDUserGet alice");
    EXPECT_EQ(Listed({{"limit", "1"}}), "alice -1, 3 and 0");
    world.ExpectLog("Fail to get user info (alice)");
    EXPECT_EQ(Listed(groups), "staff 4, 2 and 0");
    world.ExpectLog("Fail to get user info (alice)");
    NextCase();

    world.Fail("HALDGroupListMember staff");
    EXPECT_EQ(Listed(groups), "staff -1, 2 and 0");
    world.ExpectLog("fail to get member list");
    NextCase();

    world.Fail("HALDUserCheckExpired");
    EXPECT_EQ(Listed({{"limit", "1"}}), "alice 1, 3 and 0");
    world.Fail("HLIBCSzListPush alice", 2);
    EXPECT_EQ(Listed({{"limit", "1"}}), "bob 1, 2 and 0") << "what cannot be listed is no match";
    world.ExpectLog("HLIBCSzListPush failed");
}

TEST_F(Candidates, FailWithoutAMessage)
{
    const std::string all = "Fail to enumerate members";
    const std::string joined = "Fail to load members";
    const std::string noAliases = "Fail to load alias info";
    const struct {
        const char *failing, *filter;
        std::vector<std::string> logs;
        int nth = 1;
    } rows[] = {
        {"HLIBCSzListAlloc", "", {"Out of memory"}},
        {"Postfix::LoadSettings", "", {all}},
        {"HLIBCSzListAlloc", "", {"Out of memory", all}, 2},
        {"HLIBUserEnum", "", {"Fail to enumerate local users", all}},
        {"HLIBGroupEnum", "localgrp", {"Fail to enumerate local groups", all}},
        {"Alias::load", "alias", {noAliases, "Fail to enumerate alias", all}},
        {"HLIBCSzListPush team",
         "alias",
         {"HLIBCSzListPush error. halderr=0x00AB", "Fail to enumerate alias", all}},
        {"HLIBCSzHashAlloc", "", {"Out of memory"}},
        {"Alias::load", "", {noAliases, joined}},
        {"Alias::loadMember sales", "", {"Fail to load member", joined}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.failing) + " " + row.filter);
        world.lastError = 0xab;
        world.Fail(row.failing, row.nth);
        EXPECT_EQ(Read("alias_mem_enum", {{"actionop", "edit"},
                                          {"aliasname", "sales"},
                                          {"limit", "9"},
                                          {"rolefilter", row.filter}})
                      .output,
                  Failed());
        for (const std::string& log : row.logs) world.ExpectLog(log);
        NextCase();
    }
}
