// Control scripts, maps, held mail, packet filter.
#include "frame/service_control.h"

#include "tests/recording/action_test.h"

using ServiceControl = recording::RecordedTest;
using namespace recording;

TEST_F(ServiceControl, RunsTheCommandOfEachFunctionAndReturnsItsResult)
{
    const std::string target = "/var/packages/Mailvane/target/";
    const struct {
        int (*function)(const std::string&);
        std::string argument;
        std::string want;
    } rows[] = {
        {RunOpenDkimScript, "restart", "HLIBCExec " + target + "scripts/opendkim.sh restart"},
        {RunOpenDkimScript, "start", "HLIBCExec " + target + "scripts/opendkim.sh start"},
        {RunOpenDmarcScript, "stop", "HLIBCExec " + target + "scripts/opendmarc.sh stop"},
        {RunMemcachedScript, "any text",
         "HLIBCExec " + target + "scripts/memcached.sh \"any text\""},
        {RequeueHold, "", "HLIBCExec " + target + "sbin/postsuper -r ALL hold"},
        {RequeueHold, "restart", "HLIBCExec " + target + "sbin/postsuper -r ALL hold"},
        {GenerateLoginMap, "", "HLIBCExec " + target + "bin/hald_gen_login_map"},
        {GenerateLoginMap, "restart", "HLIBCExec " + target + "bin/hald_gen_login_map"},
        {HupFirewall, "restart", "HALDFwRuleHup"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.want);
        world.Return(row.want, -7, 1);
        world.Return(row.want, 3, 2);
        EXPECT_EQ(row.function(row.argument), -7);
        EXPECT_EQ(row.function(row.argument), 3);
        EXPECT_EQ(row.function(row.argument), 0);
        EXPECT_EQ(world.Calls(), Lines({row.want, row.want, row.want}));
        NextCase();
    }
}

TEST_F(ServiceControl, RegeneratesTheMapsInOrderAndStopsAtTheFirstFailure)
{
    const std::vector<std::string> steps = {"BCC::GenerateBccMap", "Access::GenerateAccessMap",
                                            "SenderQuota::GenerateConfig"};
    const char* const messages[] = {"generate bcc file fail", "generate access file fail",
                                    "generate sender quota fail"};
    for (std::size_t failing = 0; failing < steps.size(); ++failing) {
        SCOPED_TRACE(steps[failing]);
        world.Return(steps[failing], -5);
        EXPECT_EQ(RegenerateMapFiles("restart"), -1);
        const auto end = steps.begin() + static_cast<std::ptrdiff_t>(failing) + 1;
        EXPECT_EQ(world.Calls(), Lines({steps.begin(), end}));
        world.ExpectLog(messages[failing]);
        NextCase();
    }

    // Only a negative result is a failure.
    for (const std::string& step : steps) world.Return(step, 2);
    EXPECT_EQ(RegenerateMapFiles(""), 0);
    EXPECT_EQ(world.Calls(), Lines(steps));
}

TEST_F(ServiceControl, MovesAFileUnlessANameIsEmpty)
{
    EXPECT_EQ(MoveFile("", "/b"), -1);
    EXPECT_EQ(MoveFile("/a", ""), -1);
    EXPECT_EQ(MoveFile("", ""), -1);
    EXPECT_EQ(world.Calls(), "");

    world.files["/a file"] = "bytes";
    EXPECT_EQ(MoveFile("/a file", "/b"), 0);
    EXPECT_LT(MoveFile("/a file", "/b"), 0);
    EXPECT_EQ(world.Calls(),
              Lines({"HLIBCExec /bin/mv \"/a file\" /b", "HLIBCExec /bin/mv \"/a file\" /b"}));
}
