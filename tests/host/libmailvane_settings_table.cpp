// The settings table: defaults, ranges, what a text may be.
#include <gtest/gtest.h>

#include <string>

#include "host/libhaldcore/mail_services.h"
#include "host/libmailvane/settings_table.h"
#include "host/libmailvane/text_checks.h"

namespace {

using host::AllSettings;
using host::FindSetting;
using host::SettingAccepts;

TEST(SettingsTable, EveryDefaultIsAValueItsSettingTakes)
{
    for (const host::SettingInfo& setting : AllSettings()) {
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

TEST(SettingsTable, RefusesWhatWouldBreakAGeneratedFile)
{
    const std::string longHost = std::string(63, 'a') + "." + std::string(63, 'b') + "." +
                                 std::string(63, 'c') + "." + std::string(61, 'd');
    const struct {
        const char* name;
        std::string value;
        bool want;
    } rows[] = {
        {"smtp_hostname", "mail.example.org", true},
        {"smtp_hostname", "xn--bcher-kva.example", true},
        {"smtp_hostname", "", false},
        {"smtp_hostname", "mail\nrelayhost = evil.example", false},
        {"smtp_hostname", "mail.example.org\n", false},
        {"smtp_hostname", std::string("mail\0x", 6), false},
        {"smtp_hostname", "mail example.org", false},
        {"smtp_hostname", "mail..example.org", false},
        {"smtp_hostname", "mail.example.org.", false},
        {"smtp_hostname", "-mail.example.org", false},
        {"smtp_hostname",
         "b\xc3\xbc"
         "cher.example",
         false},
        {"smtp_hostname", "$myorigin", false},
        {"smtp_hostname", longHost, true},
        {"smtp_hostname", longHost + "e", false},
        {"smtp_port", "1", true},
        {"smtp_port", "65535", true},
        {"smtp_port", "0", false},
        {"smtp_port", "70000", false},
        {"smtp_port", "-25", false},
        {"smtp_port", "25 ", false},
        {"smtp_port", "", false},
        {"smtp_port", "99999999999999999999", false},
        {"smtp_enabled", "yes", true},
        {"smtp_enabled", "true", false},
        {"account_type", "win", true},
        {"account_type", "nis", false},
        {"acc_domain_name", "", true},
        {"acc_domain_name", "../../etc", false},
        {"acc_domain_name", "a/b", false},
        {"win_domain_short_name", "OFFICE", true},
        {"win_domain_short_name", "OFF\\ICE", false},
        {"smtp_relay_server", "[192.0.2.1]", true},
        {"smtp_relay_server", "2001:db8::1", true},
        {"smtp_relay_server", "relay.example.net, evil", false},
        {"smtp_relay_account", "a:b", false},
        {"smtp_relay_password", "p\xc3\xa4ss w\"ord\\", true},
        {"smtp_relay_password", "two\nlines", false},
        {"smtp_relay_password", "\xff\xfe", false},
        {"dkim_selector", "mail2026", true},
        {"dkim_selector", "mail.2026", false},
        {"message_size_limit_mb", "2000", true},
        {"message_size_limit_mb", "2001", false},
        {"virus_action", "tag", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SettingAccepts(*FindSetting(row.name), row.value), row.want)
            << row.name << " = '" << row.value << "'";
    }
}

TEST(SettingsTable, NamesStandOnceAndUnknownOnesAreNotFound)
{
    for (const host::SettingInfo& setting : AllSettings()) {
        EXPECT_EQ(FindSetting(setting.name), &setting);
    }
    EXPECT_EQ(FindSetting("always_bcc"), nullptr);
    EXPECT_EQ(FindSetting(""), nullptr);
}

TEST(MailAddress, HoldsNothingThatAMapOrAPageWouldTakeForSyntax)
{
    const struct {
        const char* text;
        bool want;
    } rows[] = {
        {"alice@example.org", true},
        {"alice", true},
        {"alice+lists@example.org", true},
        {"j\xc3\xbcrgen@example.org", true},
        {"", false},
        {"@example.org", false},
        {"alice@", false},
        {"alice@@example.org", false},
        {"a b@example.org", false},
        {"alice@example.org\nroot", false},
        {"<script>@example.org", false},
        {"a,b@example.org", false},
        {"|/bin/sh", false},
        {"/dev/null", false},
        {":include:/etc/passwd", false},
        {"\"; drop@example.org", false},
        {"alice@exa mple.org", false},
        {"al\xffice@example.org", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(host::IsMailAddress(row.text), row.want) << row.text;
    }
}

}  // namespace
