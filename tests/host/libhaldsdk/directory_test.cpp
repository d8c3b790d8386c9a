// Domain, directory and services, as configuration and unit links say.

#include "platform/hald/directory.h"
#include "platform/hlib/accounts.h"
#include "tests/host/machine.h"

namespace {

class Directory : public Machine {
protected:
    static void Link(const std::string& target, const std::string& path)
    {
        const std::string real = host::Path(path);
        std::filesystem::create_directories(std::filesystem::path(real).parent_path());
        std::filesystem::create_symlink(target, real);
    }
};

TEST_F(Directory, IsAWindowsDomainWithAdsAndARealm)
{
    EXPECT_EQ(0, HALDWinsIsJoined()) << "no configuration";
    const std::pair<const char*, bool> rows[] = {
        {"[global]\n  security = ADS\n  realm = EXAMPLE.COM\n", true},
        {"[global]\n  security = user\n  realm = EXAMPLE.COM\n", false},
        {"[global]\n  security = ads\n", false},
        {"[global]\n;  security = ads\n  realm = EXAMPLE.COM\n", false},
    };
    for (const auto& [text, want] : rows) {
        Write("/usr/hald/etc/smb.conf", text);
        EXPECT_EQ(want, HALDWinsIsJoined() != 0) << text;
    }
}

TEST_F(Directory, IsLdapWithASuffixThatFits)
{
    char suffix[12] = "~";
    EXPECT_EQ(0, HALDLDAPIsBinded());
    EXPECT_GT(0, HALDLDAPLoginSuffixGet(suffix, sizeof suffix));
    EXPECT_STREQ("", suffix);

    Write("/etc/haldinfo.conf", "ldap_enabled=\"yes\"\nldap_suffix=\"example.com\"\n");
    EXPECT_NE(0, HALDLDAPIsBinded());
    EXPECT_EQ(0, HALDLDAPLoginSuffixGet(suffix, sizeof suffix));
    EXPECT_STREQ("example.com", suffix);
    EXPECT_GT(0, HALDLDAPLoginSuffixGet(suffix, sizeof suffix - 1)) << "would name another one";
    EXPECT_STREQ("", suffix);
}

TEST_F(Directory, KnowsServicesByTheirLinks)
{
    EXPECT_EQ(0, HLIBServiceIsEnabled("winbindd"));
    Write("/lib/systemd/system/winbind.service", "");
    EXPECT_EQ(0, HLIBServiceIsEnabled("winbindd")) << "installed only";
    Link("/lib/systemd/system/winbind.service",
         "/etc/systemd/system/multi-user.target.wants/winbind.service");
    EXPECT_NE(0, HLIBServiceIsEnabled("winbindd")) << "the unit has another name";
    Link("/dev/null", "/etc/systemd/system/winbind.service");
    EXPECT_EQ(0, HLIBServiceIsEnabled("winbindd")) << "masked";

    Link("../init.d/nslcd", "/etc/rc3.d/S01nslcd");
    Write("/etc/init.d/nslcd", "");
    EXPECT_NE(0, HLIBServiceIsEnabled("nslcd"));
    for (const char* name : {"", "*", "nslc?", "../S01nslcd"}) {
        EXPECT_EQ(0, HLIBServiceIsEnabled(name)) << name;
    }
}

}  // namespace
