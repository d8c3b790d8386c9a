// The settings table: defaults, ranges, what a text may be.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "host/libhaldcore/mail_services.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/settings/settings_table.h"

namespace {

using host::settings::AllSettings;
using host::settings::FindSetting;
using host::settings::SettingAccepts;

TEST(SettingsTable, HasEachNameOnceWithADefaultThatItsSettingTakes)
{
    for (const host::settings::SettingInfo& setting : AllSettings()) {
        EXPECT_EQ(FindSetting(setting.name), &setting);
        EXPECT_TRUE(SettingAccepts(setting, setting.fallback)) << setting.name;
    }
}

TEST(SettingsTable, AgreesWithThePacketFilterOnTheDefaultsOfTheMailServices)
{
    for (const host::MailService& service : host::kMailServices) {
        EXPECT_EQ(std::to_string(service.port), FindSetting(service.portKey)->fallback);
        EXPECT_STREQ(service.enabled ? "yes" : "no", FindSetting(service.enabledKey)->fallback);
    }
}

TEST(HostsAndAddresses, EndWhereTheTextEndsAndHaveOnePairOfBrackets)
{
    using std::string_literals::operator""s;
    for (const std::string& text : {"::f\0x"s, "192.0.2.1\0x"s, "[::f\0x]"s, "a\0b"s, "[[::1]]"s}) {
        EXPECT_FALSE(host::names::IsHostOrAddressOrEmpty(text)) << text;
    }
}

TEST(SettingsTable, RefusesWhatWouldBreakAGeneratedFile)
{
    const std::string longHost = std::string(63, 'a') + "." + std::string(63, 'b') + "." +
                                 std::string(63, 'c') + "." + std::string(61, 'd');
    using Texts = std::vector<std::string>;
    const std::tuple<const char*, Texts, Texts> rows[] = {
        {"smtp_hostname",
         {"mail.example.org", "xn--bcher-kva.example", longHost},
         {"", "mail\nrelayhost = evil.example", "mail.example.org\n", std::string("mail\0x", 6),
          "mail example.org", "mail..example.org", "-mail.example.org", "$myorigin",
          longHost + "e"}},
        {"smtp_port", {"1", "65535"}, {"0", "70000", "-25", "25 ", "", "99999999999999999999"}},
        {"smtp_enabled", {"yes"}, {"true"}},
        {"account_type", {"win"}, {"nis"}},
        {"acc_domain_name", {""}, {"../../etc", "a/b"}},
        {"win_domain_short_name", {"OFFICE"}, {"OFF\\ICE"}},
        {"smtp_relay_server", {"[192.0.2.1]", "2001:db8::1"}, {"relay.example.net, evil"}},
        {"smtp_relay_account", {"me@isp.example"}, {"a:b"}},
        {"smtp_relay_password",
         {"p\xc3\xa4ss w\"ord\\"},
         {"two\nlines", "\xff\xfe", "\xed\xa0\x80"}},
        {"dkim_selector", {"mail2026"}, {"mail.2026"}},
        {"message_size_limit_mb", {"2000"}, {"2001"}},
        {"virus_action", {"reject"}, {"tag"}},
    };
    for (const auto& [name, good, bad] : rows) {
        SCOPED_TRACE(name);
        const host::settings::SettingInfo& setting = *FindSetting(name);
        for (const auto& value : good) EXPECT_TRUE(SettingAccepts(setting, value)) << value;
        for (const auto& value : bad) EXPECT_FALSE(SettingAccepts(setting, value)) << value;
    }
}

TEST(MailAddress, HoldsNothingThatAMapOrAPageWouldTakeForSyntax)
{
    for (const char* text : {"alice", "alice+lists@example.org", "j\xc3\xbcrgen@example.org"}) {
        EXPECT_TRUE(host::names::IsMailAddress(text)) << text;
    }
    for (const char* text : {"", "@example.org", "alice@", "alice@@example.org", "a b@example.org",
                             "a@b.example\nroot", "<script>@example.org", "a,b@example.org",
                             "|/bin/sh", "/dev/null", ":include:/etc/passwd",
                             "\"; drop@example.org", "alice@exa mple.org", "al\xff@example.org"}) {
        EXPECT_FALSE(host::names::IsMailAddress(text)) << text;
    }
}

}  // namespace
