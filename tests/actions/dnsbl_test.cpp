// Blocklists.
#include "tests/recording/action_test.h"

using namespace recording;

using Blocklists = ActionTest;

TEST_F(Blocklists, AChangeRestartsTheServicesThatAreOn)
{
    const struct {
        const char *action, *body;
        std::string calls;  ///< between load and save; what becomes of them makes no difference
    } changes[] = {
        {"add_dnsb", R"({"server": "z", "type": "t"})", "Postfix::AddDNSBL z t\n"},
        {"edit_dnsb", R"({"orgServer": "z", "orgType": "t", "newServer": "y"})",
         "Postfix::DeleteDNSBL z t\nPostfix::AddDNSBL y \"\"\n"},
        {"del_dnsb", R"({"dnsbList": [{"server": "y", "type": "u"}, {}]})",
         "Postfix::DeleteDNSBL y u\nPostfix::DeleteDNSBL \"\" \"\"\n"},
    };
    const std::map<std::string, std::string> plans = {
        {R"({"enable_dkim": true})", ""},
        {R"({"enable_dkim": true, "smtp_enabled": true})", "postfix service:restart"},
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
