// Settings of the spam filter.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using SpamSettings = ActionTest;

}  // namespace

TEST_F(SpamSettings, ASaveRestartsTheScannerWhenItNowLooksForSpam)
{
    for (const bool on : {true, false}) {
        world.mailScanner.Set(
            ParseJson(on ? R"({"spam_enable": false})" : R"({"spam_enable": true})"));
        const std::string change = on ? R"({"spam_enable": true})" : R"({"spam_enable": false})";
        EXPECT_EQ(Write("save_spam_config", change).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), on ? "MailScanner service:restart" : "");
        EXPECT_EQ(world.mailScanner.ToJson()["spam_enable"].asBool(), on);

        Json::Value want = world.mailScanner.ToJson();
        want["success"] = true;
        EXPECT_EQ(Read("load_spam_config").output, Answer(Compact(want)));
        NextCase();
    }
}

TEST_F(SpamSettings, TheFirstFailureEndsAnAction)
{
    ExpectFailures(R"(
load_spam_config | MailScanner::LoadSettings | system
save_spam_config | MailScanner::LoadSettings | system
save_spam_config | MailScanner::LoadSettings > MailScanner::SaveSettings [] | system
)");
}
