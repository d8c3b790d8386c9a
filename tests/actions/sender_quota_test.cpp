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

const std::string kLoad = "Postfix::LoadSettings";
const std::string kFindAnn = "HLIBUserRealNameGet ann 1023";
const std::string kSetAnn = "SenderQuota::Set ann 4294967295";
const std::string kGenerate = "SenderQuota::GenerateConfig";
const std::string kRestart = "Postfix::Service restart";

const char kQuotaOfAnn[] = R"({"sasl_sender": "ann", "quota": -1})";

}  // namespace

TEST_F(SenderQuotas, AnEditDeletesTheOldOneWhateverComesOfIt)
{
    world.Fail("SenderQuota::DeleteList");
    EXPECT_EQ(Write("set_sender_quota", R"({"sasl_sender": "ann", "quota": -1,
                                            "orgSetting": {"sasl_sender": "bob"}})")
                  .output,
              Answer(kSuccess));
    EXPECT_EQ(world.Calls(), Lines({kLoad, kLoad, kFindAnn, "SenderQuota::DeleteList [bob]",
                                    kSetAnn, kGenerate, kRestart}));
}

TEST_F(SenderQuotas, WithTheRateLimitOnTheCounterIsRestartedToo)
{
    world.postfix.Set(ParseJson(R"({"reject_sasl_sender_rate_exceed": true})"));
    world.Fail(kRestart);  // makes no difference
    EXPECT_EQ(Write("set_sender_quota", kQuotaOfAnn).output, Answer(kSuccess));
    EXPECT_TRUE(
        world.LastCallIs("HLIBCExec /var/packages/Mailvane/target/scripts/memcached.sh restart"));
}

TEST_F(SenderQuotas, AreStoredByTheTypedNameOfAnAccountOfTheSource)
{
    world.postfix.Set(ParseJson(R"({"account_type": "win", "win_domain_short_name": "C"})"));
    world.users.front().name = "C\\ann";
    EXPECT_EQ(Write("set_sender_quota", kQuotaOfAnn).output, Answer(kSuccess));
    EXPECT_TRUE(world.HasCalled(kSetAnn));
}

TEST_F(SenderQuotas, AreDeletedTogether)
{
    EXPECT_EQ(Write("delete_sender_quota", R"({"delete_list": ["ann", "b"]})").output,
              Answer(kSuccess));
    EXPECT_EQ(world.Calls(),
              Lines({kLoad, "SenderQuota::DeleteList [ann, b]", kGenerate, kRestart}));
}

TEST_F(SenderQuotas, AreListedAsTheyAreStored)
{
    world.quotas = {{"ann", 4294967295U}};
    EXPECT_EQ(Read("load_sender_quota", {{"start", "-1"}}).output,
              Answer(R"({"success": true, "total": 1,
                         "settings": [{"sasl_sender": "ann", "quota": 4294967295}]})"));
}

TEST_F(SenderQuotas, TheFirstFailureEndsAnAction)
{
    ExpectFailures({
        {"set_sender_quota", kFindAnn, {}, Refusal("user", "no_such_user"), kQuotaOfAnn},
        {"set_sender_quota", kSetAnn, {}, SystemError(), kQuotaOfAnn},
        {"set_sender_quota", kGenerate, {}, SystemError(), kQuotaOfAnn},
        {"delete_sender_quota", "SenderQuota::DeleteList"},
        {"delete_sender_quota", kGenerate},
        {"load_sender_quota", "SenderQuota::GetSettingList 0 50"},
    });
}
