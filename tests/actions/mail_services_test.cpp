// Mail services beside the SMTP page: mailboxes, relay, domains, blocklists, self-check.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using MailServices = ActionTest;
using Mailboxes = ActionTest;
using Relay = ActionTest;
using SelfCheck = ActionTest;

const char kOtherPackage[] = "/var/packages/Zarafa/enabled";

/// A change of one of the lists: the calls between load and save.
struct ListChange {
    const char* action;
    const char* body;
    std::string calls;
};

const std::vector<ListChange> kDomainChanges = {
    {"add_domain", R"({"domain": "b"})", "Postfix::AddDomain b\n"},
    {"edit_domain", R"({"orgDomain": "a", "newDomain": "b"})",
     "Postfix::DeleteDomain a\nPostfix::AddDomain b\n"},
    {"delete_domain", R"({"domainList": [{"domain": "b"}, {}]})",
     "Postfix::DeleteDomain b\nPostfix::DeleteDomain \"\"\n"},
    {"delete_domain", "{}", ""},
};

const std::vector<ListChange> kBlocklistChanges = {
    {"add_dnsb", R"({"server": "z", "type": "t"})", "Postfix::AddDNSBL z t\n"},
    {"edit_dnsb", R"({"orgServer": "z", "orgType": "t", "newServer": "y"})",
     "Postfix::DeleteDNSBL z t\nPostfix::AddDNSBL y \"\"\n"},
    {"del_dnsb", R"({"dnsbList": [{"server": "y", "type": "u"}, {}]})",
     "Postfix::DeleteDNSBL y u\nPostfix::DeleteDNSBL \"\" \"\"\n"},
};

class ListChanges : public ActionTest {
protected:
    /// Makes each change under these settings, which ask for this plan.
    void Expect(const std::vector<ListChange>& changes, const std::string& settings,
                const std::string& plan)
    {
        for (const ListChange& change : changes) {
            SCOPED_TRACE(std::string(change.action) + " " + change.body + " " + settings);
            world.postfix.Set(ParseJson(settings));
            // Whether the change itself succeeds makes no difference.
            if (!change.calls.empty()) world.Fail(change.calls.substr(0, change.calls.find('\n')));
            EXPECT_EQ(Write(change.action, change.body).output, Answer(kSuccess));
            EXPECT_EQ(world.Calls(), "Postfix::LoadSettings\n" + change.calls +
                                         "Postfix::SaveSettings [" + plan + "]\n");
            NextCase();
        }
    }
};

}  // namespace

TEST_F(MailServices, AnswerAFailureOfALoadOrASave)
{
    for (const std::string action : {"load_imap_pop3", "load_relay", "enum_domain", "enum_dnsb",
                                     "save_imap_pop3", "save_relay", "add_domain", "edit_domain",
                                     "delete_domain", "add_dnsb", "edit_dnsb", "del_dnsb"}) {
        const bool mailboxes = action.find("imap") != std::string::npos;
        const std::string settings = mailboxes ? "ImapPop3::" : "Postfix::";
        ExpectFailures(action + " | " + settings + "LoadSettings | system");
        if (action.find("load") == 0 || action.find("enum") == 0) continue;

        world.files[kOtherPackage] = "";  // no report of conflicts either
        ExpectFailures(action + " | ... > " + settings + "SaveSettings | system");
    }
    ExpectFailures("mailvane_check | Analyzer::Analyze | system");
    ExpectFailures("mailvane_check | Analyzer::Analyze > Postfix::LoadSettings | system");
}

TEST_F(Mailboxes, AreRestartedByEachSaveAndReportThePortsThatAnotherPackageHolds)
{
    const struct {
        const char* changes;
        bool otherPackage, alive;
        const char* ports;
    } rows[] = {
        {"{}", false, true, nullptr},
        {R"({"pop3_enabled": true})", true, true, nullptr},
        {R"({"pop3_enabled": true, "pop3_port": 1110, "imap_enabled": false, "imaps_port": 1})",
         true, false, "110, 993"},
        {R"({"pop3_enabled": true, "pop3s_enabled": true})", true, false, "110, 995, 143, 993"},
        {R"({"imap_enabled": false, "imaps_enabled": false})", true, false, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.changes);
        if (row.otherPackage) world.files[kOtherPackage] = "";
        if (row.alive) world.livePidFiles.insert("/var/run/dovecot/master.pid");
        const Json::Value wantStored = With(world.imapPop3.ToJson(), row.changes);
        Json::Value want = ParseJson(kSuccess);
        if (row.ports != nullptr) {
            want["dovecot_alive"] = false;
            want["conflict_ports"] = row.ports;
        }
        EXPECT_EQ(Write("save_imap_pop3", row.changes).output, Answer(Compact(want)));
        EXPECT_EQ(PlanText(world.plan), "dovecot service:restart");
        EXPECT_EQ(world.imapPop3.ToJson(), wantStored);
        EXPECT_EQ(Read("load_imap_pop3").output, Answer(Compact(With(wantStored, Compact(want)))));
        NextCase();
    }

    // The restart of the save comes before the question.
    world.runSteps = true;
    world.files[kOtherPackage] = "";
    world.On("ImapPop3::Service restart", [this] {
        world.livePidFiles.insert("/var/run/dovecot/master.pid");
        return 0;
    });
    EXPECT_EQ(Write("save_imap_pop3").output, Answer(kSuccess));
}

TEST_F(Relay, NeverAnswersThePasswordAndRestartsAServerThatIsOnAfterTheSave)
{
    const struct {
        bool enabled;
        const char* body;
        const char* password;
        const char* plan;
    } rows[] = {
        {false, "{}", "stored-secret", ""},
        {true, R"({"smtp_relay_password": ""})", "stored-secret", "postfix service:restart"},
        {true, R"({"smtp_relay_password": null, "smtp_enabled": false})", "stored-secret", ""},
        {false, R"({"smtp_relay_password": " ", "smtp_enabled": true})", " ",
         "postfix service:restart"},
        {false, R"({"smtp_relay_password": "\ufffd"})", "\uFFFD", ""},  // means nothing here
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        if (row.enabled) world.postfix.Set(ParseJson(R"({"smtp_enabled": true})"));
        Json::Value want = With(world.postfix.ToJson(), row.body);
        want["smtp_relay_password"] = row.password;
        EXPECT_EQ(Write("save_relay", row.body).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), row.plan);
        EXPECT_EQ(world.postfix.ToJson(), want);
        want["smtp_relay_password"] = "";
        EXPECT_EQ(Read("load_relay").output, Answer(Compact(With(want, kSuccess))));
        NextCase();
    }
}

TEST_F(ListChanges, RestartTheServicesThatAreOn)
{
    const std::string server = "postfix service:restart";
    const std::string signer = R"({"enable_dkim": true})";
    const std::string both = R"({"enable_dkim": true, "smtp_enabled": true})";
    Expect(kDomainChanges, "{}", "");
    Expect(kDomainChanges, R"({"smtp_enabled": true})", server);
    Expect(kDomainChanges, signer, "dkim service:restart");
    Expect(kDomainChanges, both, "dkim service:restart, " + server);
    Expect(kBlocklistChanges, signer, "");
    Expect(kBlocklistChanges, both, server);
}

TEST_F(MailServices, ListDomainsAndBlocklistsInStoredOrder)
{
    const std::string none = R"({"success": true, "items": []})";
    EXPECT_EQ(Read("enum_domain").output, Answer(none));
    EXPECT_EQ(Read("enum_dnsb").output, Answer(none));

    world.domains = {"b.example", "a.example"};
    world.dnsbls = {{"z", "t"}, {"a", ""}};
    EXPECT_EQ(Read("enum_domain").output, Answer(R"({"success": true, "items":
                  [{"domain": "b.example"}, {"domain": "a.example"}]})"));
    EXPECT_EQ(Read("enum_dnsb").output, Answer(R"({"success": true, "items":
                  [{"server": "z", "type": "t"}, {"server": "a", "type": ""}]})"));
}

TEST_F(SelfCheck, CountsOnlyForAServerThatIsOn)
{
    world.analysis = {{"OK", "mx"}, {"FAILED", "disk"}};
    EXPECT_EQ(Read("mailvane_check").output, Refusal("diagnose", "smtp_is_not_enabled"));
    world.postfix.Set(ParseJson(R"({"smtp_enabled": true})"));
    EXPECT_EQ(Read("mailvane_check").output, Answer(R"({"success": true, "settings":
                  [{"key": "mx", "status": "OK"}, {"key": "disk", "status": "FAILED"}]})"));
    world.analysis.clear();
    EXPECT_EQ(Read("mailvane_check").output, Answer(R"({"success": true, "settings": []})"));
}
