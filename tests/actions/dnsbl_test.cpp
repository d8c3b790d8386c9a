// Blocklists.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

/// A change of one of the lists: the calls between load and save.
struct ListChange {
    const char* action;
    const char* body;
    std::string calls;
};

const std::vector<ListChange> kBlocklistChanges = {
    {"add_dnsb", R"({"server": "z", "type": "t"})", "Postfix::AddDNSBL z t\n"},
    {"edit_dnsb", R"({"orgServer": "z", "orgType": "t", "newServer": "y"})",
     "Postfix::DeleteDNSBL z t\nPostfix::AddDNSBL y \"\"\n"},
    {"del_dnsb", R"({"dnsbList": [{"server": "y", "type": "u"}, {}]})",
     "Postfix::DeleteDNSBL y u\nPostfix::DeleteDNSBL \"\" \"\"\n"},
};

class Blocklists : public ActionTest {
protected:
    /// Makes each change under these settings, which ask for this plan.
    void Expect(const std::vector<ListChange>& changes, const std::string& settings,
                const std::string& plan)
    {
        for (const ListChange& change : changes) {
            SCOPED_TRACE(std::string(change.action) + " " + change.body + " " + settings);
            world.postfix.Set(ParseJson(settings));
            // Whether the change itself succeeds makes no difference.
            if (!change.calls.empty()) world.Fail(change.calls.substr(0, change.calls.find('\n')));
            EXPECT_EQ(Write(change.action, change.body).output, Answer(kSuccess));
            EXPECT_EQ(world.Calls(), "Postfix::LoadSettings\n" + change.calls +
                                         "Postfix::SaveSettings [" + plan + "]\n");
            NextCase();
        }
    }
};

}  // namespace

TEST_F(Blocklists, RestartTheServicesThatAreOn)
{
    const std::string server = "postfix service:restart";
    const std::string signer = R"({"enable_dkim": true})";
    const std::string both = R"({"enable_dkim": true, "smtp_enabled": true})";
    Expect(kBlocklistChanges, signer, "");
    Expect(kBlocklistChanges, both, server);
}

TEST_F(Blocklists, AreListedInStoredOrder)
{
    EXPECT_EQ(Read("enum_dnsb").output, Answer(R"({"success": true, "items": []})"));
    world.dnsbls = {{"z", "t"}, {"a", ""}};
    EXPECT_EQ(Read("enum_dnsb").output, Answer(R"({"success": true, "items":
                  [{"server": "z", "type": "t"}, {"server": "a", "type": ""}]})"));
}

TEST_F(Blocklists, AnswerAFailureOfALoadOrASave)
{
    ExpectFailures("enum_dnsb | Postfix::LoadSettings | system");
    ExpectFailures("add_dnsb | Postfix::LoadSettings | system");
    ExpectFailures("edit_dnsb | Postfix::LoadSettings | system");
    ExpectFailures("del_dnsb | Postfix::LoadSettings | system");
    ExpectFailures("add_dnsb | ... > Postfix::SaveSettings | system");
    ExpectFailures("edit_dnsb | ... > Postfix::SaveSettings | system");
    ExpectFailures("del_dnsb | ... > Postfix::SaveSettings | system");
}
