// Sender quotas.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class SenderQuotas : public ActionTest {
protected:
    void Prepare() override
    {
        world.users.resize(1);
        world.users.front().name = "ann";
    }
};

}  // namespace

TEST_F(SenderQuotas, AQuotaIsSetAfterTheAccountIsFoundAndTheServicesFollow)
{
    const std::string load = "Postfix::LoadSettings";
    const std::string user = "HLIBUserRealNameGet ann 1023";
    const std::string set = "SenderQuota::Set ann 4294967295";
    const std::string generate = "SenderQuota::GenerateConfig";
    const std::string gone = "SenderQuota::DeleteList [ann, b]";
    const char* list = R"({"delete_list": ["ann", "b"]})";
    const std::string body = R"(set_sender_quota {"sasl_sender": "ann", "quota": -1} | )" + load +
                             " > " + load + " > " + user;
    const std::string deletion = std::string("delete_sender_quota ") + list + " | " + load;
    ExpectFailures(body + " | user/no_such_user");
    ExpectFailures(body + " > " + set + " | system");
    ExpectFailures(body + " > " + set + " > " + generate + " | system");
    ExpectFailures(deletion + " | system");
    ExpectFailures(deletion + " > " + gone + " | system");
    ExpectFailures(deletion + " > " + gone + " > " + generate + " | system");

    world.postfix.Set(ParseJson(R"({"reject_sasl_sender_rate_exceed": true})"));
    world.Fail("SenderQuota::DeleteList");
    world.Fail("Postfix::Service");
    EXPECT_EQ(Write("set_sender_quota", R"({"sasl_sender": "ann", "quota": -1, "orgSetting": {}})")
                  .output,
              Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({load, load, user, "SenderQuota::DeleteList [\"\"]", set, generate,
                     "Postfix::Service restart",
                     "HLIBCExec /var/packages/Mailvane/target/scripts/memcached.sh restart"}));
    world.quotas = {{"ann", 4294967295U}};
    EXPECT_EQ(Read("load_sender_quota", {{"start", "-1"}}).output,
              Answer(R"({"success": true, "total": 1,
                         "settings": [{"sasl_sender": "ann", "quota": 4294967295}]})"));
    NextCase();

    EXPECT_EQ(Write("delete_sender_quota", list).output, Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({load, gone, generate, "Postfix::Service restart"}));
}

TEST_F(SenderQuotas, TheListThatCannotBeReadIsASystemError)
{
    ExpectFailures(R"(
load_sender_quota | SenderQuota::GetSettingList 0 50 | system
)");
}
