// Advanced settings of the spam filter.
#include "tests/recording/action_test.h"

using namespace recording;

using AdvancedSettings = ActionTest;

TEST_F(AdvancedSettings, NeverAnswerThePassword)
{
    const Json::Value stored =
        ParseJson(R"({"smtp_relay_password": "secret", "smtp_enabled": false})");
    world.postfix.Set(stored);
    EXPECT_EQ(Read("load_adv_anti_spam").output.find("secret"), std::string::npos);
    EXPECT_EQ(Write("save_advance_anti_spam", R"({"smtp_port": 2525})").output, Answer(kSuccess));
    EXPECT_EQ(PlanText(world.plan), "postfix service:restart");
    EXPECT_EQ(world.postfix.ToJson()["smtp_port"], 2525);
    EXPECT_EQ(world.postfix.ToJson()["smtp_relay_password"], "secret");
}
