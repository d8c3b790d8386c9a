// Change of the account source: what is parked, brought back and rebuilt.
#include "services/account_domain.h"

#include <cerrno>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kDir = "/var/packages/Mailvane/target/etc/alias_bkp/";
const std::string kAliasDb = "/var/packages/Mailvane/etc/alias.db";
const std::string kServerDb = "/var/packages/Mailvane/etc/mailvane.db";
const std::string kConf = "/var/packages/Mailvane/etc/mailvane.conf";
const std::string kTool = "/var/packages/Mailvane/target/bin/hald_set_config";

const char kToLdap[] = R"({"account_type": "ldap", "acc_domain_name": "dc=corp"})";

/// The calls of a switch from local, example.com to ldap, dc=corp with everything parked there.
const std::vector<std::string> kWholeSwitch = {
    "mkdir " + kDir + " 0755",
    "HLIBCExec /bin/mv " + kAliasDb + " " + kDir + "local_example.com",
    "HLIBCFileExist " + kDir + "ldap_dc=corp",
    "HLIBCExec /bin/mv " + kDir + "ldap_dc=corp " + kAliasDb,
    "HLIBCExec " + kTool + " alias",
    "mkdir " + kDir + " 0755",
    "HLIBCExec /bin/mv " + kServerDb + " " + kDir + "local_example.com_mailvane",
    "HLIBCFileExist " + kDir + "ldap_dc=corp_mailvane",
    "HLIBCExec /bin/mv " + kDir + "ldap_dc=corp_mailvane " + kServerDb,
    "Spam::GenerateBlackWhite",
    "MailScanner::Service restart",
    "HLIBCFileGetKeyValue " + kConf + " always_bcc 512 0",
    "HLIBCFileSetKeyValue " + kDir + "local_example.com_alwaysBCC always_bcc archive@example.com 0",
    "HLIBCFileGetKeyValue " + kDir + "ldap_dc=corp_alwaysBCC always_bcc 512 0",
    "HLIBCFileSetKeyValue " + kConf + " always_bcc ldap@example.com 0",
};

class AccountDomain : public RecordedTest {
protected:
    int Change(const std::string& request)
    {
        Postfix postfix;
        EXPECT_EQ(postfix.LoadSettings(), 0);
        const std::size_t before = world.Calls().size();
        const int result = ChangeAccountDomain(ParseJson(request), postfix);
        calls = world.Calls().substr(before);
        return result;
    }

    void ParkLdapData()
    {
        world.files[kDir + "ldap_dc=corp"] = "ldap aliases";
        world.files[kDir + "ldap_dc=corp_mailvane"] = "ldap lists";
        world.keyValueFiles[kDir + "ldap_dc=corp_alwaysBCC"]["always_bcc"] = "ldap@example.com";
    }

    std::string calls;  ///< of the last change
};

}  // namespace

TEST_F(AccountDomain, BuildsNamesFromTheTextsAsTheyAre)
{
    const std::pair<const char*, const char*> rows[] = {
        {R"({"account_type": "Local", "acc_domain_name": "example.com"})", "Local_example.com"},
        {R"({"account_type": "local"})", "local_"},
        {R"({})", "_"},
        {R"({"account_type": "win", "acc_domain_name": "../a b"})", "win_../a b"},
    };
    for (const auto& [request, name] : rows) {
        SCOPED_TRACE(request);
        world.files[kDir + name] = "parked";
        EXPECT_EQ(Change(request), 0);
        EXPECT_EQ(world.files[kAliasDb], "parked");
        world.ExpectLog(1083, "get key:always_bcc from " + kDir + name + "_alwaysBCC fail");
        NextCase();
    }
}

TEST_F(AccountDomain, StopsAtEachFailureWithItsLogLines)
{
    const std::string aliases = "1179 alias db change fail";
    const std::string server = "1184 mail server db change fail";
    const std::string bcc = "1189 always bcc setting change fail";
    const struct {
        std::size_t step;  ///< the failing one in `kWholeSwitch`
        std::string log, logOfTheChange;
        int nth = 1;  ///< of the calls like it
    } rows[] = {
        {0, "1145 mkdir " + kDir + " fail", aliases},
        // the line has always named the server database
        {1, "1151 " + kServerDb + " backup to " + kDir + "local_example.com fail", aliases},
        {3, "1157 restore " + kDir + "ldap_dc=corp fail", aliases},
        {4, "1164 Can't re-gent aliases", aliases},
        {5, "1104 mkdir " + kDir + " fail", server, 2},
        {6, "1110 " + kServerDb + " backup to " + kDir + "local_example.com_mailvane fail", server},
        {8, "1116 restore " + kDir + "ldap_dc=corp_mailvane fail", server},
        {9, "1122 generate spam black white list fail", server},
        {10, "1127 restart mailscanner service fail", server},
        {12, "1077 set key: always_bcc to " + kDir + "local_example.com_alwaysBCC fail", bcc},
        {14, "1087 set key: always_bcc to " + kDir + " fail", bcc},
    };
    for (const auto& row : rows) {
        const std::string& failing = kWholeSwitch[row.step];
        SCOPED_TRACE(failing);
        ParkLdapData();
        world.FailWith(failing, EACCES, row.nth);
        EXPECT_EQ(Change(kToLdap), -1);
        const auto end = kWholeSwitch.begin() + static_cast<std::ptrdiff_t>(row.step) + 1;
        EXPECT_EQ(calls, Lines({kWholeSwitch.begin(), end}));
        EXPECT_EQ(world.TakeLog(), "mailvane:" + row.log);
        EXPECT_EQ(world.TakeLog(), "mailvane:" + row.logOfTheChange);
        NextCase();
    }
}

TEST_F(AccountDomain, GoesOnWithNoAddressWhenAnAlwaysCopyCannotBeRead)
{
    ParkLdapData();
    world.Fail("HLIBCFileGetKeyValue");
    EXPECT_EQ(Change(kToLdap), 0);
    EXPECT_EQ(world.keyValueFiles[kDir + "local_example.com_alwaysBCC"]["always_bcc"], "");
    EXPECT_EQ(world.keyValueFiles[kConf]["always_bcc"], "");
    world.ExpectLog(1073, "get key:always_bcc from " + kConf + " fail");
    world.ExpectLog(1083, "get key:always_bcc from " + kDir + "ldap_dc=corp_alwaysBCC fail");
}

TEST_F(AccountDomain, TakesADirectoryThatExistsAndPositiveResultsForSuccess)
{
    ParkLdapData();
    world.FailWith("mkdir", EEXIST);
    for (const char* call : {"HLIBCExec /var/packages/Mailvane/target/bin/hald_set_config",
                             "Spam::GenerateBlackWhite", "MailScanner::Service"}) {
        world.Return(call, 1);
    }
    EXPECT_EQ(Change(kToLdap), 0);
    EXPECT_EQ(calls, Lines(kWholeSwitch));
    EXPECT_EQ(world.files[kAliasDb], "ldap aliases");
    EXPECT_EQ(world.files[kServerDb], "ldap lists");
}
