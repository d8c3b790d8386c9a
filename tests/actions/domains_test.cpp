// Additional domains.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

/// A change of one of the lists: the calls between load and save.
struct ListChange {
    const char* action;
    const char* body;
    std::string calls;
};

const std::vector<ListChange> kDomainChanges = {
    {"add_domain", R"({"domain": "b"})", "Postfix::AddDomain b\n"},
    {"edit_domain", R"({"orgDomain": "a", "newDomain": "b"})",
     "Postfix::DeleteDomain a\nPostfix::AddDomain b\n"},
    {"delete_domain", R"({"domainList": [{"domain": "b"}, {}]})",
     "Postfix::DeleteDomain b\nPostfix::DeleteDomain \"\"\n"},
    {"delete_domain", "{}", ""},
};

class Domains : public ActionTest {
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

TEST_F(Domains, RestartTheServicesThatAreOn)
{
    const std::string server = "postfix service:restart";
    const std::string signer = R"({"enable_dkim": true})";
    const std::string both = R"({"enable_dkim": true, "smtp_enabled": true})";
    Expect(kDomainChanges, "{}", "");
    Expect(kDomainChanges, R"({"smtp_enabled": true})", server);
    Expect(kDomainChanges, signer, "dkim service:restart");
    Expect(kDomainChanges, both, "dkim service:restart, " + server);
}

TEST_F(Domains, AreListedInStoredOrder)
{
    EXPECT_EQ(Read("enum_domain").output, Answer(R"({"success": true, "items": []})"));
    world.domains = {"b.example", "a.example"};
    EXPECT_EQ(Read("enum_domain").output, Answer(R"({"success": true, "items":
                  [{"domain": "b.example"}, {"domain": "a.example"}]})"));
}

TEST_F(Domains, AnswerAFailureOfALoadOrASave)
{
    ExpectFailures("enum_domain | Postfix::LoadSettings | system");
    ExpectFailures("add_domain | Postfix::LoadSettings | system");
    ExpectFailures("edit_domain | Postfix::LoadSettings | system");
    ExpectFailures("delete_domain | Postfix::LoadSettings | system");
    ExpectFailures("add_domain | ... > Postfix::SaveSettings | system");
    ExpectFailures("edit_domain | ... > Postfix::SaveSettings | system");
    ExpectFailures("delete_domain | ... > Postfix::SaveSettings | system");
}
