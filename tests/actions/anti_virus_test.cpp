// The anti-virus engine: its update and its status.
#include <unistd.h>

#include "filtering/anti_virus_status.h"
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const char kUpdatePid[] = "/var/run/hald_freshclam.pid";

using AntiVirusPage = ActionTest;
using AntiVirus = RecordedTest;

}  // namespace

TEST_F(AntiVirusPage, AnUpdateRunsOnceAndOutsideOfTheRequest)
{
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_NE(world.Calls().find("HLIBCProcFork"), std::string::npos);
    EXPECT_EQ(world.Calls().find("HLIBCExec"), std::string::npos);
    NextCase();

    world.livePidFiles.insert(kUpdatePid);
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_EQ(world.Calls().find("HLIBCProcFork"), std::string::npos);
    NextCase();

    // The child runs the tool and is no request any more, whatever becomes of it.
    for (const int result : {0, -1}) {
        world.Return("HLIBCProcFork", 0);
        world.On("HLIBCExec /var/packages/Mailvane/target/bin/hald_anti-virus update", [result] {
            (void)!write(STDERR_FILENO, "updated", 7);
            return result;
        });
        EXPECT_EXIT(Read("fresh_clam"), testing::ExitedWithCode(0), "^updated$");
        world.Reset();
    }
}

TEST_F(AntiVirusPage, TheStatusIsFinalWhenNothingIsUnderWay)
{
    const struct {
        const char* alive;
        bool enabled;
        const char* status;
        bool final;
    } rows[] = {{"", false, "done", true},
                {"", true, "error", true},
                {kUpdatePid, true, "fresh_clam", false},
                {"/var/run/hald_anti-virus.pid", true, "service_starting", false}};
    for (const auto& row : rows) {
        world.livePidFiles.insert(row.alive);
        world.mailScanner.Set(ParseJson(row.enabled ? R"({"anti_virus_enable": true})"
                                                    : R"({"anti_virus_enable": false})"));
        Json::Value want = ParseJson(kSuccess);
        want["isFinish"] = row.final;
        want["status"] = row.status;
        EXPECT_EQ(Read("check_virus_status").output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(AntiVirusPage, AnUpdateThatCannotBeStartedIsASystemError)
{
    ExpectFailures(R"(
fresh_clam | IsSupportAntiVirus > HLIBCProcAliveByPidFile /var/run/hald_freshclam.pid
  > HLIBCProcFork | system
)");
}

TEST_F(AntiVirus, StatusIsThatOfTheFirstLiveProcessThatTellsIt)
{
    const std::string pids[] = {"/var/run/hald_freshclam.pid", "/var/run/hald_anti-virus.pid",
                                "/var/run/clamd.pid", "/var/run/MailScanner.pid"};
    const struct {
        bool enabled;
        const char* alive;  ///< a "1" for each of these that is
        std::size_t asked;  ///< how many of them are looked at
        const char* want;
    } rows[] = {
        {false, "0000", 2, "done"}, {true, "1111", 1, "fresh_clam"},
        {true, "0001", 3, "error"}, {true, "0111", 2, "service_starting"},
        {true, "0010", 4, "error"}, {false, "0100", 2, "service_starting"},
        {true, "0011", 4, "done"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.alive);
        if (row.enabled) world.mailScanner.Set(ParseJson(R"({"anti_virus_enable": true})"));
        std::vector<std::string> calls = {"MailScanner::LoadSettings"};
        for (std::size_t i = 0; i < 4; ++i) {
            if (row.alive[i] == '1') world.livePidFiles.insert(pids[i]);
            if (i < row.asked) calls.push_back("HLIBCProcAliveByPidFile " + pids[i]);
        }
        EXPECT_STREQ(AntiVirusStatus(), row.want);
        EXPECT_EQ(world.Calls(), Lines(calls));
        NextCase();
    }

    world.livePidFiles = {pids[0]};
    world.Fail("MailScanner::LoadSettings");
    EXPECT_STREQ(AntiVirusStatus(), "error");
}
