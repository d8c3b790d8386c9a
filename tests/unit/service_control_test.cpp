// Control scripts, maps, held mail, packet filter.
#include "frame/service_control.h"

#include "tests/recording/action_test.h"

using namespace recording;
using ServiceControl = RecordedTest;

TEST_F(ServiceControl, RegeneratesTheMapsInOrderAndStopsAtTheFirstFailure)
{
    const std::pair<std::string, std::string> steps[] = {
        {"BCC::GenerateBccMap", "generate bcc file fail"},
        {"Access::GenerateAccessMap", "generate access file fail"},
        {"SenderQuota::GenerateConfig", "generate sender quota fail"}};
    std::string calls;
    for (const auto& [step, message] : steps) {
        calls += step + "\n";
        world.Fail(step);
        EXPECT_EQ(RegenerateMapFiles("restart"), -1);
        EXPECT_EQ(world.Calls(), calls);
        world.ExpectLog(message);
        NextCase();
    }
    for (const auto& [step, message] : steps) world.Return(step, 1);
    EXPECT_EQ(RegenerateMapFiles("restart"), 0) << "only negative results are failures";
}

TEST_F(ServiceControl, MovesNothingThatHasNoName)
{
    EXPECT_LT(MoveFile("", "/tmp/x"), 0);
    EXPECT_LT(MoveFile("/tmp/x", ""), 0);
    EXPECT_EQ(world.Calls(), "");
}
