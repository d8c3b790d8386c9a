// Self-check.
#include "tests/recording/action_test.h"

using namespace recording;

using SelfCheck = ActionTest;

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

TEST_F(SelfCheck, TheFirstFailureEndsIt)
{
    ExpectFailures({{"mailvane_check", "Analyzer::Analyze"}});
}
