// load_smtp
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kHomes = "/etc/haldinfo.conf";
const std::string kRealm = "/usr/hald/etc/smb.conf";

class LoadSmtp : public ActionTest {
protected:
    /// The answer with all stored settings, the password masked, and these members besides.
    std::string StoredWith(const std::string& members)
    {
        Json::Value body = world.postfix.ToJson();
        body["smtp_relay_password"] = "";
        return Answer(Compact(With(body, members)));
    }
};

}  // namespace

TEST_F(LoadSmtp, AnswersEverySettingAndMasksThePassword)
{
    world.postfix.Set(ParseJson(R"({"smtp_enabled": true, "smtp_hostname": "m\u00e4il"})"));
    const Reply reply = Read("load_smtp");
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(reply.output, StoredWith(R"({"success": true, "homeServiceEnable": true,
                             "acc_items": [{"type": "local", "name": ""}]})"));
    EXPECT_EQ(world.Calls(),
              Lines({"Postfix::LoadSettings",
                     "HLIBCFileCheckKeyValue " + kHomes + " userHomeEnable yes 0",
                     "HLIBServiceIsEnabled winbindd", "HALDWinsIsJoined",
                     "HLIBCFileGetKeyValue " + kRealm + " realm 512 0", "HALDLDAPIsBinded"}));
}

TEST_F(LoadSmtp, AsksForTheHomesOfTheStoredAccountType)
{
    const std::pair<const char*, const char*> rows[] = {
        {"local", "userHomeEnable"}, {"ldap", "enableluserhome"},
        {"win", "enableduserhome"},  {"other", "userHomeEnable"},  // unlike the save
        {"", "userHomeEnable"},      {"LDAP", "userHomeEnable"}};
    for (const auto& [account, key] : rows) {
        for (const char* value : {"yes", "no", "Yes"}) {
            SCOPED_TRACE(std::string(account) + " " + value);
            Json::Value type;
            type["account_type"] = account;
            world.postfix.Set(type);
            world.keyValueFiles[kHomes] = {{key, value}};
            const Reply reply = Read("load_smtp");
            const bool on = std::string(value) == "yes";
            const std::string flag =
                std::string("\"homeServiceEnable\":") + (on ? "true" : "false");
            EXPECT_NE(reply.output.find(flag), std::string::npos) << reply.output;
            NextCase();
        }
    }
}

TEST_F(LoadSmtp, ListsTheAccountSourcesOfTheMachine)
{
    const std::string local = R"({"type": "local", "name": ""})";
    const std::string win = R"({"type": "win", "name": "CORP.EXAMPLE.COM"})";
    const std::string ldap = R"({"type": "ldap", "name": "@ldap.example.com"})";
    const struct {
        const char* name;
        bool winbind, joined, bound;
        std::string want;
    } rows[] = {
        {"alone", false, false, false, local},
        {"a domain without winbind", false, true, false, local},
        {"a domain", true, true, false, local + "," + win},
        {"LDAP", false, false, true, local + "," + ldap},
        {"both", true, true, true, local + "," + win + "," + ldap},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.winbind) world.enabledServices = {"winbindd"};
        world.domainJoined = row.joined;
        if (row.bound) world.ldapSuffix = "@ldap.example.com";
        const Reply reply = Read("load_smtp");
        EXPECT_EQ(reply.output, StoredWith(R"({"success": true, "homeServiceEnable": true,
                                               "acc_items": [)" +
                                           row.want + "]}"));
        EXPECT_EQ(world.Calls().find("HALDLDAPLoginSuffixGet 1024\n") != std::string::npos,
                  row.bound);
        NextCase();
    }
}

TEST_F(LoadSmtp, NamesADomainWithoutARealmAndLeavesOutALdapThatDoesNotAnswer)
{
    const std::string items = R"([{"type": "local", "name": ""}, {"type": "win", "name": ""}])";
    for (const int result : {-1, 1}) {  // only 0 is success here
        world.enabledServices = {"winbindd"};
        world.domainJoined = true;
        world.keyValueFiles[kRealm].clear();
        world.ldapSuffix = "@ldap.example.com";
        world.Return("HALDLDAPLoginSuffixGet", result);
        EXPECT_EQ(Read("load_smtp").output, StoredWith(R"({"success": true, "acc_items": )" +
                                                       items + R"(, "homeServiceEnable": true})"));
        NextCase();
    }
}

TEST_F(LoadSmtp, MasksThePasswordInTheFailingAnswerToo)
{
    world.keyValueFiles.erase(kRealm);
    world.enabledServices = {"winbindd"};
    world.domainJoined = true;
    world.ldapSuffix = "@ldap.example.com";
    EXPECT_EQ(Read("load_smtp").output, StoredWith(R"({"success": false, "homeServiceEnable": true,
                             "errinfo": {"sec": "common", "key": "error_system"},
                             "acc_items": [{"type": "local", "name": ""}]})"));
    EXPECT_EQ(world.Calls().find("HALDLDAPIsBinded"), std::string::npos);
}
