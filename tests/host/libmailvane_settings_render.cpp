// Texts of the daemons' files, made of settings.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>

#include "host/libmailvane/mail_ports.h"
#include "host/libmailvane/render.h"
#include "host/libmailvane/scanner_files.h"

namespace {

using host::StoredSettings;
using host::Surroundings;

/// Settings that differ from the defaults by some.
StoredSettings With(std::initializer_list<std::pair<const char*, const char*>> changes)
{
    StoredSettings settings;
    settings.Set("smtp_hostname", "mail.example.org");
    for (const auto& [name, value] : changes) settings.Set(name, value);
    return settings;
}

/// Value of a parameter in a main.cf; "(none)" when it does not stand there exactly once.
std::string Parameter(const std::string& text, const std::string& name)
{
    std::istringstream lines(text);
    std::string value = "(none)";
    int found = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(name + " =", 0) != 0) continue;
        ++found;
        value = line.size() > name.size() + 3 ? line.substr(name.size() + 3) : "";
    }
    return found == 1 ? value : "(none)";
}

std::string MainOf(const StoredSettings& settings)
{
    return host::RenderPostfixMain(settings, Surroundings());
}

TEST(RenderPostfix, EachSettingShowsInItsParameter)
{
    const struct {
        const char* setting;
        const char* value;
        const char* parameter;
        const char* want;  ///< must stand in the parameter
    } rows[] = {
        {"smtp_hostname", "mx.example.net", "myhostname", "mx.example.net"},
        {"acc_domain_name", "example.org", "myorigin", "example.org"},
        {"acc_domain_name", "example.org", "mydestination", "mail.example.org, example.org"},
        {"message_size_limit_mb", "2000", "message_size_limit", "2097152000"},
        {"restrict_sender", "yes", "smtpd_sender_restrictions",
         "reject_authenticated_sender_login_mismatch, "},
        {"plaintext_auth", "yes", "smtpd_tls_auth_only", "no"},
        {"plaintext_auth", "no", "smtpd_tls_auth_only", "yes"},
        {"smtp_auth_required", "no", "smtpd_relay_restrictions", "permit_mynetworks, "},
        {"reject_unknown_sender_domain", "yes", "smtpd_sender_restrictions",
         "reject_unknown_sender_domain"},
        {"reject_non_fqdn_sender", "yes", "smtpd_sender_restrictions", "reject_non_fqdn_sender"},
        {"reject_unknown_client_hostname", "yes", "smtpd_client_restrictions",
         "reject_unknown_client_hostname"},
        {"reject_unauth_pipelining", "yes", "smtpd_data_restrictions", "reject_unauth_pipelining"},
        {"require_helo", "yes", "smtpd_helo_required", "yes"},
        {"reject_invalid_helo", "yes", "smtpd_helo_restrictions", "reject_invalid_helo_hostname"},
        {"client_connection_rate_limit", "7", "smtpd_client_connection_rate_limit", "7"},
        {"client_message_rate_limit", "8", "smtpd_client_message_rate_limit", "8"},
        {"recipient_limit", "9", "smtpd_recipient_limit", "9"},
    };
    for (const auto& row : rows) {
        const std::string value =
            Parameter(MainOf(With({{row.setting, row.value}})), row.parameter);
        EXPECT_NE(value.find(row.want), std::string::npos)
            << row.setting << ": " << row.parameter << " is " << value;
    }
}

TEST(RenderPostfix, NoSettingsRelayForStrangers)
{
    for (const char* authRequired : {"yes", "no"}) {
        for (const char* plaintext : {"yes", "no"}) {
            const StoredSettings settings = With({{"smtp_auth_required", authRequired},
                                                  {"plaintext_auth", plaintext},
                                                  {"smtp_ssl_enabled", "yes"}});
            const std::string main = MainOf(settings);
            const std::string relay = Parameter(main, "smtpd_relay_restrictions");
            EXPECT_EQ(relay.substr(relay.rfind(' ') + 1), "reject_unauth_destination");
            EXPECT_EQ(Parameter(main, "mynetworks_style"), "host");

            const std::string master = host::RenderPostfixMaster(settings, Surroundings());
            const std::regex submissionOnly(
                "smtpd_relay_restrictions=permit_sasl_authenticated,"
                "reject\n");
            const auto count = std::distance(
                std::sregex_iterator(master.begin(), master.end(), submissionOnly), {});
            EXPECT_EQ(count, 2) << master;
        }
    }
}

TEST(RenderPostfix, TheAdministratorsParametersStandOnce)
{
    Surroundings around;
    around.mainFragment =
        "# mine\ninet_interfaces=loopback-only\nmyhostname = own.example\n  more\n";
    const std::string main = host::RenderPostfixMain(With({}), around);
    EXPECT_EQ(main.find("inet_interfaces = all"), std::string::npos);
    EXPECT_EQ(Parameter(main, "myhostname"), "own.example");
    EXPECT_EQ(main.substr(main.size() - around.mainFragment.size()), around.mainFragment);
}

TEST(RenderPostfix, LoginsOfAWindowsDomainAreKnownWithAndWithoutIt)
{
    const auto result = [](const StoredSettings& settings) {
        const std::string rule = host::RenderLoginRule(settings);
        return rule.substr(rule.rfind("/ ") + 2);
    };
    EXPECT_EQ(result(With({{"win_domain_short_name", "CORP"}})), "${1}\n");
    EXPECT_EQ(result(With({{"account_type", "win"}})), "${1}\n");
    EXPECT_EQ(result(With({{"account_type", "win"}, {"win_domain_short_name", "CORP"}})),
              "${1}, CORP\\${1}\n");
}

TEST(RenderPostfix, ADomainIsNamedOnceAndDotsOfTheLoginRuleAreDots)
{
    StoredSettings settings = With({{"acc_domain_name", "example.org"}});
    settings.domains = {"second.example", "example.org", "mail.example.org"};
    EXPECT_EQ(Parameter(MainOf(settings), "mydestination"),
              "localhost, mail.example.org, example.org, second.example");

    // The rule as PCRE reads it: one line, `/pattern/ result`.
    const std::string rule = host::RenderLoginRule(settings);
    const std::regex pattern(rule.substr(1, rule.rfind('/') - 1));
    const struct {
        const char* address;
        const char* login;  ///< empty: owned by nobody
    } rows[] = {
        {"alice@example.org", "alice"},         {"alice+news@second.example", "alice"},
        {"alice@mail.example.org", "alice"},    {"alice@exampleXorg", ""},
        {"alice@example.org.evil.example", ""}, {"alice@other.example", ""},
        {"evil@x+alice@example.org", ""},
    };
    for (const auto& row : rows) {
        std::smatch match;
        const std::string address = row.address;
        const bool owned = std::regex_match(address, match, pattern);
        EXPECT_EQ(owned ? match[1].str() : "", row.login) << address;
    }
}

TEST(MailPorts, SmtpPortsCountOnlyWhileSmtpIsOn)
{
    EXPECT_EQ(host::EnabledPorts(With({{"imaps_enabled", "no"}})),
              (std::vector<int>{25, 587, 143}));
    const StoredSettings off =
        With({{"smtp_enabled", "no"}, {"imap_enabled", "no"}, {"imaps_enabled", "no"}});
    EXPECT_EQ(host::EnabledPorts(off), std::vector<int>());
    EXPECT_FALSE(host::MailboxServerRuns(off));
    EXPECT_TRUE(host::MailboxServerRuns(With({{"imap_enabled", "no"}})));
}

TEST(RenderScanner, QuotesTheSubjectTagAndUnpacksTwiceTheLargestMessage)
{
    const auto holds = [](const char* setting, const char* value, const std::string& line) {
        return host::RenderScanner(With({{setting, value}})).find("\n" + line + "\n") !=
               std::string::npos;
    };
    EXPECT_TRUE(holds("spam_subject_tag", "", "$sa_spam_subject_tag = undef;"));
    EXPECT_TRUE(
        holds("spam_subject_tag", "\\'; die; '", "$sa_spam_subject_tag = '\\\\\\'; die; \\' ';"));
    EXPECT_TRUE(
        holds("message_size_limit_mb", "2000", "$MAX_EXPANSION_QUOTA = 4000 * 1024 * 1024;"));
}

}  // namespace
