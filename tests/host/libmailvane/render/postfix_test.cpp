// Texts of Postfix's files, made of settings.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/dovecot.h"
#include "host/libmailvane/render/postfix.h"
#include "tests/host/machine.h"

namespace {

using host::render::RenderContext;
using host::settings::StoredSettings;

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
    const std::string start = "\n" + name + " =";
    const auto found = text.find(start);
    if (found == std::string::npos || text.rfind(start) != found) return "(none)";
    const auto value = found + start.size();
    return text.substr(value, text.find('\n', value) - value);
}

std::string MainOf(const StoredSettings& settings)
{
    return host::render::RenderPostfixMain(settings, RenderContext());
}

TEST(RenderPostfix, EachSettingShowsInItsParameter)
{
    const struct {
        const char *setting, *value, *parameter;
        const char* want;  ///< must stand in the parameter
    } rows[] = {
        {"acc_domain_name", "example.org", "myorigin", "example.org"},
        {"message_size_limit_mb", "2000", "message_size_limit", "2097152000"},
        {"plaintext_auth", "yes", "smtpd_tls_auth_only", "no"},
        {"plaintext_auth", "no", "smtpd_tls_auth_only", "yes"},
        {"reject_unknown_sender_domain", "yes", "smtpd_sender_restrictions",
         "reject_unknown_sender_domain"},
        {"reject_non_fqdn_sender", "yes", "smtpd_sender_restrictions", "reject_non_fqdn_sender"},
        {"reject_unknown_client_hostname", "yes", "smtpd_client_restrictions",
         "reject_unknown_client_hostname"},
        {"reject_unauth_pipelining", "yes", "smtpd_data_restrictions", "reject_unauth_pipelining"},
        {"require_helo", "yes", "smtpd_helo_required", "yes"},
        {"reject_invalid_helo", "yes", "smtpd_helo_restrictions", "reject_invalid_helo_hostname"},
        {"client_message_rate_limit", "8", "smtpd_client_message_rate_limit", "8"},
        {"recipient_limit", "9", "smtpd_recipient_limit", "9"},
        {"max_user_connections", "7", "mail_max_userip_connections", "7"},
        {"plaintext_auth", "yes", "disable_plaintext_auth", "no"},
    };
    for (const auto& row : rows) {
        const StoredSettings settings = With({{row.setting, row.value}});
        const std::string texts =
            MainOf(settings) + host::render::RenderDovecot(settings, RenderContext());
        const std::string value = Parameter(texts, row.parameter);
        EXPECT_NE(value.find(row.want), std::string::npos) << row.setting << ": " << value;
    }
}

TEST(RenderPostfix, ATypedValueIsNoMacro)
{
    StoredSettings settings = With({{"smtp_hostname", "$biff.${mail_version}"}});
    settings.SetAlwaysBcc("boss$biff@mv.test");
    EXPECT_EQ(Parameter(MainOf(settings), "myhostname"), " $$biff.$${mail_version}");
    EXPECT_EQ(MainOf(settings).find("boss"), std::string::npos) << "everybody reads it";
    EXPECT_EQ(host::render::RenderAlwaysBcc(settings),
              Parameter(MainOf(settings), "always_bcc").substr(1) + " boss$biff@mv.test\n");
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
            EXPECT_EQ(Parameter(main, "mynetworks_style"), " host");

            const std::string master = host::render::RenderPostfixMaster(settings, RenderContext());
            const std::string rule = "smtpd_relay_restrictions=permit_sasl_authenticated,reject\n";
            EXPECT_NE(master.find(rule), master.rfind(rule)) << "of two ports: " << master;
            const bool needsTls = plaintext == std::string("no");
            EXPECT_EQ(master.find("smtpd_tls_security_level=encrypt") != std::string::npos,
                      needsTls);
        }
    }
}

using PortForServers = Machine;

// Old TLS does not protect a password, but mail by it is better than mail in the clear.
TEST_F(PortForServers, SpeaksOldTlsWhereNoPasswordCrossesIt)
{
    const std::string onlyPort = "smtp_tls_enabled=no\n", nextService = "mailvane-showq unix";
    const std::pair<std::string, std::string> rows[] = {
        {"smtp_port_logins=no\n", "  -o smtpd_sasl_auth_enable=no"},
        {"smtp_port_logins=no\n" + onlyPort, "  -o smtpd_tls_protocols=>=TLSv1.2"},
        {"smtp_port_logins=no\nplaintext_auth=yes\n" + onlyPort, nextService},
        {onlyPort, nextService},
    };
    for (const auto& [stored, want] : rows) {
        Write(host::PackagePath("etc/mailvane.conf"), stored);
        const std::string master =
            host::render::RenderPostfixMaster(*StoredSettings::Read(), RenderContext());
        const std::string line = master.substr(master.find('\n', master.find("-cleanup")) + 1);
        EXPECT_EQ(line.substr(0, want.size()), want) << stored;
    }
}

TEST(RenderPostfix, LoginsOfAWindowsDomainAreKnownWithAndWithoutIt)
{
    const std::string rule = host::render::RenderLoginRule(
        With({{"account_type", "win"}, {"win_domain_short_name", "CORP"}}));
    EXPECT_EQ(rule.substr(rule.rfind("/ ")), "/ ${1}, CORP\\${1}\n");
}

TEST(RenderPostfix, ADomainIsNamedOnceAndDotsOfTheLoginRuleAreDots)
{
    StoredSettings settings = With({{"acc_domain_name", "example.org"}});
    settings.domains = {"second.example", "example.org", "mail.example.org"};
    EXPECT_EQ(Parameter(MainOf(settings), "mydestination"),
              " localhost, mail.example.org, example.org, second.example");

    // The rule as PCRE reads it: one line, `/pattern/ result`.
    const std::string rule = host::render::RenderLoginRule(settings);
    const std::regex pattern(rule.substr(1, rule.rfind('/') - 1));
    const std::pair<std::string, const char*> rows[] = {
        {"alice@example.org", "alice"},         {"alice+news@second.example", "alice"},
        {"alice@exampleXorg", "nobody"},        {"alice@example.org.evil.example", "nobody"},
        {"evil@x+alice@example.org", "nobody"},
    };
    for (const auto& [address, login] : rows) {
        std::smatch match;
        const bool owned = std::regex_match(address, match, pattern);
        EXPECT_EQ(owned ? match[1].str() : "nobody", login) << address;
    }
}

}  // namespace
