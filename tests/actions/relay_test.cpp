// SMTP relay.
#include "tests/recording/action_test.h"

using namespace recording;

using Relay = ActionTest;

TEST_F(Relay, NeverAnswersThePasswordAndRestartsAServerThatIsOnAfterTheSave)
{
    const struct {
        bool enabled;
        const char* body;
        const char* password;
        const char* plan;
    } rows[] = {
        {false, "{}", "stored-secret", ""},
        {true, R"({"smtp_relay_password": ""})", "stored-secret", "postfix service:restart"},
        {true, R"({"smtp_relay_password": null, "smtp_enabled": false})", "stored-secret", ""},
        {false, R"({"smtp_relay_password": " ", "smtp_enabled": true})", " ",
         "postfix service:restart"},
        {false, R"({"smtp_relay_password": "\ufffd"})", "\uFFFD", ""},  // means nothing here
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        if (row.enabled) world.postfix.Set(ParseJson(R"({"smtp_enabled": true})"));
        Json::Value want = With(world.postfix.ToJson(), row.body);
        want["smtp_relay_password"] = row.password;
        EXPECT_EQ(Write("save_relay", row.body).output, Answer(kSuccess));
        EXPECT_EQ(PlanText(world.plan), row.plan);
        EXPECT_EQ(world.postfix.ToJson(), want);
        want["smtp_relay_password"] = "";
        EXPECT_EQ(Read("load_relay").output, Answer(Compact(With(want, kSuccess))));
        NextCase();
    }
}
