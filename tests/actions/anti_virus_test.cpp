// The anti-virus engine: its update and its status.
#include <unistd.h>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const char kUpdatePid[] = "/var/run/hald_freshclam.pid";
const char kStarterPid[] = "/var/run/hald_anti-virus.pid";
const char kEnginePid[] = "/var/run/clamd.pid";
const char kScannerPid[] = "/var/run/MailScanner.pid";

using AntiVirusPage = ActionTest;

}  // namespace

TEST_F(AntiVirusPage, AnUpdateRunsOnceAndOutsideOfTheRequest)
{
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_TRUE(world.LastCallIs("HLIBCProcFork"));
    NextCase();

    world.livePidFiles.insert(kUpdatePid);
    EXPECT_EQ(Read("fresh_clam").output, Answer(kSuccess));
    EXPECT_FALSE(world.HasCalled("HLIBCProcFork"));
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

TEST_F(AntiVirusPage, AnUpdateThatCannotBeStartedIsASystemError)
{
    ExpectFailures({{"fresh_clam", "HLIBCProcFork"}});
}

TEST_F(AntiVirusPage, StatusIsFinalWhenNothingIsUnderWay)
{
    const struct {
        const char* name;
        bool enabled;
        std::set<std::string> alive;  ///< pid files of live processes
        const char* status;
        bool isFinal;
    } rows[] = {
        {"off", false, {}, "done", true},
        {"off but starting", false, {kStarterPid}, "service_starting", false},
        {"all at once", true, {kUpdatePid, kStarterPid}, "fresh_clam", false},
        {"starting", true, {kStarterPid, kEnginePid, kScannerPid}, "service_starting", false},
        {"both up", true, {kEnginePid, kScannerPid}, "done", true},
        {"only the engine up", true, {kEnginePid}, "error", true},
        {"only the scanner up", true, {kScannerPid}, "error", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.enabled) world.mailScanner.Set(ParseJson(R"({"anti_virus_enable": true})"));
        world.livePidFiles = row.alive;
        Json::Value want = ParseJson(kSuccess);
        want["isFinish"] = row.isFinal;
        want["status"] = row.status;
        EXPECT_EQ(Read("check_virus_status").output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(AntiVirusPage, StatusOfSettingsThatCannotBeReadIsAnError)
{
    world.livePidFiles = {kUpdatePid};
    world.Fail("MailScanner::LoadSettings");
    EXPECT_EQ(Read("check_virus_status").output,
              Answer(R"({"success": true, "isFinish": true, "status": "error"})"));
}
