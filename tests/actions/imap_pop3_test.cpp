// IMAP and POP3.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const char kOtherPackage[] = "/var/packages/Zarafa/enabled";
const char kDovecotPid[] = "/var/run/dovecot/master.pid";

using Mailboxes = ActionTest;

}  // namespace

TEST_F(Mailboxes, AreStoredAndRestartedByEachSave)
{
    for (const char* changes : {"{}", R"({"imap_enabled": false, "imaps_port": 1})"}) {
        const Json::Value want = With(world.imapPop3.ToJson(), changes);
        EXPECT_EQ(Write("save_imap_pop3", changes).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), "dovecot service:restart");
        EXPECT_EQ(Read("load_imap_pop3").output, Answer(Compact(With(want, kSuccess))));
        NextCase();
    }
}

TEST_F(Mailboxes, ThatDoNotComeUpNameThePortsThatTheOtherPackageHolds)
{
    const std::pair<const char*, const char*> rows[] = {
        {R"({"pop3_enabled": true, "pop3_port": 1110, "imap_enabled": false, "imaps_port": 1})",
         "110, 993"},
        {R"({"pop3_enabled": true, "pop3s_enabled": true})", "110, 995, 143, 993"},
        {R"({"imap_enabled": false, "imaps_enabled": false})", ""},
    };
    for (const auto& [changes, ports] : rows) {
        SCOPED_TRACE(changes);
        world.files[kOtherPackage] = "";
        Json::Value want = ParseJson(R"({"success": true, "dovecot_alive": false})");
        want["conflict_ports"] = ports;
        EXPECT_EQ(Write("save_imap_pop3", changes).output, Answer(Compact(want)));
        const Json::Value stored = world.imapPop3.ToJson();
        EXPECT_EQ(Read("load_imap_pop3").output, Answer(Compact(With(stored, Compact(want)))));
        NextCase();
    }
}

TEST_F(Mailboxes, ThatTheSaveBringsUpAreInConflictWithNothing)
{
    world.runSteps = true;
    world.files[kOtherPackage] = "";
    world.On("ImapPop3::Service restart", [this] {
        world.livePidFiles.insert(kDovecotPid);
        return 0;
    });
    EXPECT_EQ(Write("save_imap_pop3", R"({"pop3_enabled": true})").output, Answer(kSuccess));
}
