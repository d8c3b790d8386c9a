// Names of accounts, and who may receive blind copies.
#include "addresses/account_names.h"
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class AccountNames : public RecordedTest {
protected:
    void Prepare() override
    {
        for (const char* name : {"alice", "winner"}) AddUser(name);
        world.aliases = {{"sales", {}}, {"team", {}}, {"Sales", {}}};
    }

    void AddUser(const std::string& name)
    {
        world.users.emplace_back();
        world.users.back().name = name;
    }
};

}  // namespace

TEST_F(AccountNames, AreThoseOfTheSource)
{
    const char kNames[] = R"("acc_domain_name": "s.example", "win_domain_short_name": "CORP")";
    for (const auto& [type, want] : std::map<std::string, std::string>{
             {"ldap", "bob@s.example"}, {"win", "CORP\\bob"}, {"local", "bob"}, {"Win", "bob"}}) {
        world.postfix.Set(ParseJson("{\"account_type\": \"" + type + "\", " + kNames + "}"));
        EXPECT_EQ(AccountLoginName("bob"), want);
    }
    world.postfix.Set(ParseJson(R"({"account_type": "ldap"})"));
    EXPECT_EQ(AccountLoginName("b@c"), "b@c@s.example");
    world.Fail("Postfix::LoadSettings");
    EXPECT_EQ(AccountLoginName("bob"), "bob");
}

TEST_F(AccountNames, AddressesAndAliasesTakeBlindCopies)
{
    const std::map<std::string, bool> rows = {
        {"@", true},      {"x@none.example", true}, {"alice", true}, {"none", false},
        {"Sales", true},  {"SALES", false},         {"sale", false}, {"", false},
        {"winner", true}, {"Alice", false}};
    for (const auto& [name, want] : rows) EXPECT_EQ(IsValidBccTarget(name), want) << name;

    world.postfix.Set(ParseJson(R"({"account_type": "win", "win_domain_short_name": "C"})"));
    AddUser("C\\new");
    EXPECT_TRUE(IsValidBccTarget("new"));
    EXPECT_FALSE(IsValidBccTarget("alice"));
    EXPECT_TRUE(IsValidBccTarget("team")) << "an alias by its typed name";
    world.Fail("Alias::load");
    EXPECT_FALSE(IsValidBccTarget("team"));
}
