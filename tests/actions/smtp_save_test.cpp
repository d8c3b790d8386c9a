// save_smtp
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kHomes = "HLIBCFileCheckKeyValue /etc/haldinfo.conf ";

class SaveSmtp : public ActionTest {
protected:
    /// A running server.
    void Prepare() override { world.postfix.Set(ParseJson(R"({"smtp_enabled": true})")); }

    /// Saves what is stored, with these members changed.
    Reply Save(const std::string& changes)
    {
        return Write("save_smtp", Compact(With(world.postfix.ToJson(), changes)));
    }

    std::string Stored() { return Compact(world.postfix.ToJson()); }

    /// The lines of the journal that ask for ports, without the name of the operation.
    std::string PortQuestions() const
    {
        const std::string call = "WebUtils::IsPortConflict ";
        const std::string calls = world.Calls();
        std::string questions;
        for (std::size_t at = calls.find(call); at != std::string::npos;
             at = calls.find(call, at + 1)) {
            const std::size_t begin = at + call.size();
            questions += calls.substr(begin, calls.find('\n', begin) + 1 - begin);
        }
        return questions;
    }
};

const char kPlain[] = "\"mail_smtp ,mail_haproxy_smtp\" ";
const char kSsl[] = "\"mail_smtps ,mail_haproxy_smtp_ssl\" ";
const char kTls[] = "\"mail_smtp_tls ,mail_haproxy_smtp_tls\" ";

}  // namespace

TEST_F(SaveSmtp, StoresEveryKnownMemberAndLeavesTheBodyAlone)
{
    const std::string want = R"({"smtp_hostname": "mx", "message_size_limit_mb": 20,
                                 "smtp_relay_password": "new", "restrict_sender": true,
                                 "win_domain_short_name": ""})";
    Json::Value body = ParseJson(want);
    body["account_type"] = "local";
    body["acc_domain_name"] = "example.com";
    body["unknown"] = "ignored";
    body["win_domain_short_name"] = Json::Value();  // null counts as a member
    const Json::Value stored = With(world.postfix.ToJson(), want);
    EXPECT_EQ(Write("save_smtp", Compact(body)).output, Answer(kSuccess));
    EXPECT_EQ(Stored(), Compact(stored));
    body["action"] = "save_smtp";
    EXPECT_EQ(*world.request.body, body);
}

TEST_F(SaveSmtp, ReadsMissingMembersAsOffAndKeepsWhatIsStored)
{
    world.postfix.Set(ParseJson(R"({"restrict_sender": true, "enable_dkim": true,
                                    "enable_dmarc": true, "smtp_ssl_enabled": true})"));
    const std::string before = Stored();
    const Reply reply =
        Write("save_smtp", R"({"account_type": "local", "acc_domain_name": "example.com"})");
    EXPECT_EQ(reply.output, Answer(kSuccess));
    EXPECT_EQ(PlanText(world.plan),
              "postfix service:stop, dkim service:restart, dmarc service:restart, hup firewall:");
    EXPECT_EQ(PortQuestions(), "");
    EXPECT_EQ(Stored(), before);
}

TEST_F(SaveSmtp, ChecksThenSwitchesTheAccountThenSaves)
{
    world.runSteps = true;
    world.postfix.Set(ParseJson(R"({"smtp_enabled": false, "enable_dkim": true})"));
    EXPECT_EQ(Save(R"({"smtp_enabled": true, "smtp_ssl_enabled": true, "smtp_tls_enabled": true,
                       "account_type": "ldap", "smtp_hostname": "mx", "smtps_port": 4650})")
                  .output,
              Answer(kSuccess));

    const std::string calls = world.Calls();
    const std::size_t change = calls.find("mkdir ");
    const std::size_t save = calls.find("Postfix::SaveSettings ");
    ASSERT_LT(change, save);
    ASSERT_NE(save, std::string::npos);
    const std::string target = "/var/packages/Mailvane/target/";
    const std::string ask = "WebUtils::IsPortConflict ";
    EXPECT_EQ(calls.substr(0, change),
              Lines({"Postfix::LoadSettings", kHomes + "enableluserhome yes 0",
                     ask + kPlain + "25 25", ask + kSsl + "4650 4650", ask + kTls + "587 587"}));
    const std::string plan =
        "dovecot service:restart, regenerate mailvane db setting:, generate login map:, "
        "postfix service:start, dkim service:restart, hup firewall:";
    EXPECT_EQ(
        calls.substr(save),
        Lines({"Postfix::SaveSettings [" + plan + "]", "ImapPop3::Service restart",
               "BCC::GenerateBccMap", "Access::GenerateAccessMap", "SenderQuota::GenerateConfig",
               "HLIBCExec " + target + "bin/hald_gen_login_map", "Postfix::Service start",
               "HLIBCExec " + target + "scripts/opendkim.sh restart", "HALDFwRuleHup"}));
    const std::string parked = target + "etc/alias_bkp/";
    world.ExpectLog(1083, "get key:always_bcc from " + parked + "ldap_example.com_alwaysBCC fail");
}

TEST_F(SaveSmtp, PlansTheStepsOfEachChangeInOrder)
{
    const std::string restart = "postfix service:restart";
    const std::string account =
        "dovecot service:restart, regenerate mailvane db setting:, generate login map:, ";
    const struct {
        const char *stored, *wanted;
        std::string plan;
    } rows[] = {
        {"{}", "{}", restart},
        {"{}", R"({"smtp_enabled": false})", "postfix service:stop"},
        {R"({"smtp_enabled": false})", R"({"smtp_enabled": true})", "postfix service:start"},
        {R"({"smtp_enabled": false})", "{}", restart},
        {R"({"enable_dkim": true})", R"({"account_type": "ldap"})", account + restart},
        {"{}", R"({"acc_domain_name": "Example.com"})", account + restart},
        {"{}", R"({"acc_domain_name": "example.comx"})", account + restart},
        // the same bytes, split elsewhere
        {R"({"account_type": "locale", "acc_domain_name": "xample.com"})",
         R"({"account_type": "local", "acc_domain_name": "example.com"})", account + restart},
        {"{}", R"({"restrict_sender": true})", "generate login map:, " + restart},
        {R"({"restrict_sender": true})", R"({"restrict_sender": false})", restart},
        {R"({"restrict_sender": true})", R"({"account_type": "ldap", "restrict_sender": false})",
         account + restart},
        // signer and checker by their stored switches, when the host name changes
        {R"({"enable_dkim": true})", R"({"smtp_hostname": "mx"})",
         restart + ", dkim service:restart"},
        {R"({"enable_dmarc": true})", R"({"smtp_hostname": "mx", "enable_dmarc": false})",
         restart + ", dmarc service:restart"},
        {"{}", R"({"smtp_hostname": "mx", "enable_dkim": true, "enable_dmarc": true})", restart},
        {"{}", R"({"smtp_port": 2525})", restart + ", hup firewall:"},
        {"{}", R"({"smtps_port": 4650})", restart + ", hup firewall:"},
        {"{}", R"({"smtp_enabled": false, "smtp_tls_port": 0})",
         "postfix service:stop, hup firewall:"},
        {R"({"smtp_enabled": false, "enable_dkim": true, "enable_dmarc": true})",
         R"({"smtp_enabled": true, "account_type": "win", "restrict_sender": true,
             "smtp_hostname": "mx", "smtp_port": 26})",
         account + "postfix service:start, dkim service:restart, dmarc service:restart, "
                   "hup firewall:"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.stored) + " " + row.wanted);
        world.postfix.Set(ParseJson(row.stored));
        EXPECT_EQ(Save(row.wanted).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), row.plan);
        world.TakeLog();  // nothing is parked for a new account source
        NextCase();
    }
}

TEST_F(SaveSmtp, NeedsTheHomesOfTheRequestedAccountType)
{
    const std::pair<std::string, std::string> rows[] = {
        {R"("local")", "userHomeEnable"}, {R"("ldap")", "enableluserhome"},
        {R"("win")", "enableduserhome"},  {R"("other")", "enableduserhome"},  // unlike the load
        {R"("")", "enableduserhome"},     {"null", "enableduserhome"}};
    for (const auto& [type, key] : rows) {
        SCOPED_TRACE(type);
        const std::string before = Stored();
        world.keyValueFiles["/etc/haldinfo.conf"][key] = "no";
        const Reply reply = Save(R"({"smtp_port": 26, "account_type": )" + type + "}");
        EXPECT_EQ(reply.output, Refusal("error", "no_user_home"));
        EXPECT_EQ(world.Calls(), Lines({"Postfix::LoadSettings", kHomes + key + " yes 0"}));
        EXPECT_EQ(Stored(), before);
        NextCase();
    }
}

TEST_F(SaveSmtp, AsksOnlyForPortsThatItDoesNotHoldAlready)
{
    const std::string plain = kPlain;
    const std::string ssl = kSsl;
    const std::string tls = kTls;
    const struct {
        const char* stored;
        const char* wanted;
        std::string want;
    } rows[] = {
        {R"({"smtp_ssl_enabled": true, "smtp_tls_enabled": true})", "{}", ""},
        {"{}", R"({"smtp_port": 26})", plain + "26 26\n"},
        {R"({"smtp_enabled": false})", R"({"smtp_enabled": true})", plain + "25 25\n"},
        // the ports of switches that are off do not matter
        {"{}", R"({"smtps_port": 1, "smtp_tls_port": 2})", ""},
        {"{}", R"({"smtp_ssl_enabled": true})", ssl + "465 465\n"},
        {R"({"smtp_ssl_enabled": true})", R"({"smtps_port": 466})", ssl + "466 466\n"},
        {"{}", R"({"smtp_tls_enabled": true})", tls + "587 587\n"},
        {R"({"smtp_tls_enabled": true})", R"({"smtp_tls_port": 588})", tls + "588 588\n"},
        // SSL and TLS look at their own stored switches, not at that of the server
        {R"({"smtp_enabled": false, "smtp_ssl_enabled": true, "smtp_tls_enabled": true})",
         R"({"smtp_enabled": true})", plain + "25 25\n"},
        {"{}", R"({"smtp_port": 1, "smtp_ssl_enabled": true, "smtp_tls_enabled": true})",
         plain + "1 1\n" + ssl + "465 465\n" + tls + "587 587\n"},
        // nothing is asked for a server that stops or stays off
        {"{}", R"({"smtp_enabled": false, "smtp_port": 1, "smtp_ssl_enabled": true})", ""},
        {R"({"smtp_enabled": false})", R"({"smtp_tls_enabled": true, "smtp_tls_port": 1})", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.stored) + " " + row.wanted);
        world.postfix.Set(ParseJson(row.stored));
        EXPECT_EQ(Save(row.wanted).output, Answer(kSuccess));
        EXPECT_EQ(PortQuestions(), row.want);
        NextCase();
    }
}

TEST_F(SaveSmtp, NamesTheFirstPortInConflictAndSavesNothing)
{
    const std::string wanted = R"({"smtp_port": 1, "smtps_port": 2, "smtp_tls_port": 3,
        "smtp_ssl_enabled": true, "smtp_tls_enabled": true, "account_type": "ldap"})";
    const std::pair<std::string, std::string> ports[] = {{std::string(kPlain) + "1 1", "SMTP"},
                                                         {std::string(kSsl) + "2 2", "SMTP-SSL"},
                                                         {std::string(kTls) + "3 3", "SMTP-TLS"}};
    std::string asked;
    for (const auto& [question, label] : ports) {
        asked += question + "\n";
        for (const int result : {1, -1}) {  // any result but 0 is a conflict
            SCOPED_TRACE(label);
            const std::string before = Stored();
            world.Return("WebUtils::IsPortConflict " + question, result);
            const std::string errinfo =
                R"({"sec": "error", "key": "error_port_conflict", "errField": ")" + label + "\"}";
            EXPECT_EQ(Save(wanted).output,
                      Answer(R"({"success": false, "errinfo": )" + errinfo + "}"));
            EXPECT_EQ(PortQuestions(), asked);
            EXPECT_EQ(world.Calls().find("mkdir"), std::string::npos);
            EXPECT_EQ(world.Calls().find("SaveSettings"), std::string::npos);
            EXPECT_EQ(Stored(), before);
            NextCase();
        }
    }
}

TEST_F(SaveSmtp, TheFirstFailureEndsIt)
{
    const std::string other = R"({"account_type": "local", "acc_domain_name": "example.org"})";
    ExpectFailures({
        {"save_smtp",
         "Spam::GenerateBlackWhite",
         {"generate spam black white list fail", "mail server db change fail"},
         SystemError(),
         other},
    });
}
