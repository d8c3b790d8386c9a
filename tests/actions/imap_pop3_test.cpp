// IMAP and POP3.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using Mailboxes = ActionTest;

const char kOtherPackage[] = "/var/packages/Zarafa/enabled";

}  // namespace

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

TEST_F(Mailboxes, AnswerAFailureOfALoadOrASave)
{
    ExpectFailures("load_imap_pop3 | ImapPop3::LoadSettings | system");
    ExpectFailures("save_imap_pop3 | ImapPop3::LoadSettings | system");
    world.files[kOtherPackage] = "";  // no report of conflicts either
    ExpectFailures("save_imap_pop3 | ... > ImapPop3::SaveSettings | system");
}
