// Additional domains.
#include "tests/recording/action_test.h"

using namespace recording;

using Domains = ActionTest;

TEST_F(Domains, AChangeRestartsTheServicesThatAreOn)
{
    const struct {
        const char *action, *body;
        std::string calls;  ///< between load and save; what becomes of them makes no difference
    } changes[] = {
        {"add_domain", R"({"domain": "b"})", "Postfix::AddDomain b\n"},
        {"edit_domain", R"({"orgDomain": "a", "newDomain": "b"})",
         "Postfix::DeleteDomain a\nPostfix::AddDomain b\n"},
        {"delete_domain", R"({"domainList": [{"domain": "b"}, {}]})",
         "Postfix::DeleteDomain b\nPostfix::DeleteDomain \"\"\n"},
        {"delete_domain", "{}", ""},
    };
    const std::map<std::string, std::string> plans = {
        {"{}", ""},
        {R"({"smtp_enabled": true})", "postfix service:restart"},
        {R"({"enable_dkim": true})", "dkim service:restart"},
        {R"({"enable_dkim": true, "smtp_enabled": true})",
         "dkim service:restart, postfix service:restart"},
    };
    for (const auto& change : changes) {
        for (const auto& [settings, plan] : plans) {
            SCOPED_TRACE(std::string(change.action) + " " + change.body + " " + settings);
            world.postfix.Set(ParseJson(settings));
            if (!change.calls.empty()) world.Fail(change.calls.substr(0, change.calls.find('\n')));
            EXPECT_EQ(Write(change.action, change.body).output, Answer(kSuccess));
            EXPECT_EQ(world.Calls(), "Postfix::LoadSettings\n" + change.calls +
                                         "Postfix::SaveSettings [" + plan + "]\n");
            NextCase();
        }
    }
}
