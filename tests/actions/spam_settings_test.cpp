// Settings of the spam filter.
#include "tests/recording/action_test.h"

using namespace recording;

using SpamSettings = ActionTest;

TEST_F(SpamSettings, ASaveRestartsTheScannerWhenItNowLooksForSpam)
{
    for (const bool on : {true, false}) {
        Json::Value stored = world.mailScanner.ToJson();
        stored["spam_enable"] = !on;
        world.mailScanner.Set(stored);
        stored["spam_enable"] = on;
        EXPECT_EQ(Write("save_spam_config", Compact(stored)).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), on ? "MailScanner service:restart" : "");
        EXPECT_EQ(Read("load_spam_config").output, Answer(Compact(With(stored, kSuccess))));
        NextCase();
    }
}
