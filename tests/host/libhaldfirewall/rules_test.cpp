// The packet filter: which ports the rules open and close, and what becomes of a failed load.
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldfirewall/firewall_rules.h"
#include "platform/firewall/firewall.h"
#include "tests/host/machine.h"

namespace {

/// The ports of the rule that ends with `verdict`, "" when there is none.
std::string Ports(const std::string& rules, const std::string& verdict)
{
    const std::size_t end = rules.find(" } " + verdict);
    if (end == std::string::npos) return "";
    const std::size_t start = rules.rfind("{ ", end) + 2;
    return rules.substr(start, end - start);
}

TEST(FirewallRules, FollowTheSettings)
{
    const struct {
        const char *settings, *open, *closed;
    } rows[] = {
        {"", "25, 143, 587, 993", "110, 465, 995"},
        {"smtp_port=\"2525\"\nsmtp_ssl_enabled=yes\n", "143, 465, 587, 993, 2525", "110, 995"},
        {"smtp_enabled=no\nsmtp_ssl_enabled=yes\n", "143, 993", "25, 110, 465, 587, 995"},
        {"smtps_port=587\n", "25, 143, 587, 993", "110, 995"},  // a port that another one has
        {"pop3_enabled=yes\npop3s_enabled=yes\nsmtp_ssl_enabled=yes\n",
         "25, 110, 143, 465, 587, 993, 995", ""},
        {"smtp_port=70000\nimap_port=1; drop\npop3_enabled=maybe\n", "25, 143, 587, 993",
         "110, 465, 995"},  // what cannot be counts as not set
    };
    for (const auto& row : rows) {
        const std::string rules = host::FirewallRules(host::KeyValueFile::Parse(row.settings));
        EXPECT_EQ(row.open, Ports(rules, "accept")) << row.settings;
        EXPECT_EQ(row.closed, Ports(rules, "reject with tcp reset")) << row.settings;
    }
}

class Firewall : public Machine {
protected:
    /// A filter program that notes its arguments and ends with `status`.
    void InstallNft(int status) const
    {
        Write("/usr/sbin/nft",
              "#!/bin/sh\necho \"$@\" >" + root + "/args\nexit " + std::to_string(status) + "\n",
              0755);
    }
};

TEST_F(Firewall, LoadsItsRulesInOneFile)
{
    EXPECT_EQ(0, HALDFwRuleHup()) << "nothing to do without a filter program";
    InstallNft(0);
    Write(host::PackagePath("etc/mailvane.conf"), "pop3_enabled=\"yes\"\n");
    EXPECT_EQ(0, HALDFwRuleHup());
    const std::string file = host::PackagePath("etc/firewall.nft");
    EXPECT_EQ("-f " + file + "\n", Contents("/args"));
    const std::string rules = Contents(file);
    EXPECT_EQ("25, 110, 143, 587, 993", Ports(rules, "accept"));
    EXPECT_LT(rules.find("delete table inet mailvane\n"), rules.find("table inet mailvane {"));
}

TEST_F(Firewall, PutsTheOldRulesBackWhenTheNewOnesAreRefused)
{
    InstallNft(1);
    const std::string file = host::PackagePath("etc/firewall.nft");
    for (const std::string old : {"(none)", "old\n"}) {
        if (old != "(none)") Write(file, old);
        EXPECT_GT(0, HALDFwRuleHup());
        EXPECT_EQ(old, Contents(file));
    }
}

}  // namespace
