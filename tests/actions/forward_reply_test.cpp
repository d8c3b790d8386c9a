// Personal settings: forwarding and the automatic reply.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using LoadPersonal = ActionTest;
using SavePersonal = ActionTest;

PersonalData Invalid(const char* errKey)
{
    PersonalData data;
    data.valid = false;
    data.errKey = errKey;
    return data;
}

}  // namespace

TEST_F(LoadPersonal, ShowsTheTextAndTheBoundsOfAReplyThatIsOn)
{
    const char kFirst[] = R"("success": true, "forward_enable": true, "forward_addr": "x@y",
                             "keep_copy": true)";
    const struct {
        bool reply;
        long begin, end;
        const char* more;
    } rows[] = {
        {false, 5, 6, R"("reply_enable": false)"},
        {true, 0, -1, R"("reply_enable": true, "subject": "Away", "message": "Soon")"},
        {true, 5, 2147483647, R"("reply_enable": true, "subject": "Away", "message": "Soon",
                                 "reply_begin_time": "5", "reply_end_time": "2147483647")"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.more);
        PersonalData& stored = world.personal["bob"];
        stored.forward = true;
        stored.forwardAddr = "x@y";
        stored.keepCopy = true;
        stored.reply = row.reply;
        stored.replyBegin = row.begin;
        stored.replyEnd = row.end;
        stored.generalReply = {"Away", "Soon"};
        EXPECT_EQ(Read("load_personal", {{"user", "bob"}}).output,
                  Answer("{" + std::string(kFirst) + ", " + row.more + "}"));
        NextCase();
    }
}

TEST_F(LoadPersonal, AnswersWhyItFails)
{
    world.personal[""] = Invalid("no_such_user");
    EXPECT_EQ(Read("load_personal").output, Refusal("error", "no_such_user"));
    NextCase();

    world.personal["bob"].reply = true;
    world.Fail("Personal::ReadReplyContent");
    EXPECT_EQ(Read("load_personal", {{"user", "bob"}}).output,
              Answer(R"({"errinfo": {"sec": "common", "key": "error_system"}, "success": false,
                         "forward_enable": false, "forward_addr": "", "keep_copy": false,
                         "reply_enable": true})"));
}

TEST_F(SavePersonal, GivesEverythingToTheStoreInOrder)
{
    EXPECT_EQ(Write("save_personal",
                    R"({"user": "bob", "forward_enable": true, "forward_addr": "x@y",
                        "keep_copy": true, "reply_enable": false, "subject": "a \"b\"\nc",
                        "message": "m", "reply_begin_time": "12x", "reply_end_time": ""})")
                  .output,
              Answer(kSuccess));
    const PersonalData& stored = world.personal["bob"];
    EXPECT_EQ(stored.generalReply, std::make_pair(std::string("a \"b\"\nc"), std::string("m")));
    for (const char* call : {"setForward true", "setForwardAddr x@y", "setKeepCopy true",
                             "SetReplyBeginTime 12", "SetReplyEndTime 0"}) {
        EXPECT_TRUE(world.HasCalled(std::string("Personal::") + call)) << call;
    }
    NextCase();

    // Neither what is wrong with the user nor a text that cannot be stored matters to the save.
    world.personal[""].valid = false;
    world.Fail("Personal::WriteReplyContent");
    EXPECT_EQ(Write("save_personal").output, Answer(kSuccess));
    EXPECT_EQ(
        world.Calls(),
        Lines({"Personal::Personal \"\"", "Personal::setForward false",
               "Personal::setForwardAddr \"\"", "Personal::setKeepCopy false",
               "Personal::setReply false", "Personal::WriteReplyContent null \"\" \"\"",
               "Personal::SetReplyBeginTime 0", "Personal::SetReplyEndTime 0", "Personal::save"}));
}

TEST_F(SavePersonal, AnswersTheLineOfAFailure)
{
    world.Fail("Personal::save");
    const std::string output = Write("save_personal").output;
    const Json::Value answer = ParseJson(output.substr(output.find('{')));
    EXPECT_FALSE(answer["success"].asBool());
    EXPECT_EQ(answer["errinfo"]["sec"], "error");
    EXPECT_EQ(answer["errinfo"]["key"], "no_user_home");
    EXPECT_GT(answer["errinfo"]["line"].asInt(), 0);
    world.ExpectLog("Fail to save personal setting");
}

TEST_F(LoadPersonal, AnswersTheAccountTypeWhateverTheLoadGives)
{
    world.postfix.Set(ParseJson(R"({"account_type": "ldap"})"));
    EXPECT_EQ(Read("get_account_type").output,
              Answer(R"({"success": true, "accountType": "ldap"})"));
    world.Fail("SMTP::load");
    EXPECT_EQ(Read("get_account_type").output, Answer(R"({"success": true, "accountType": ""})"));
}
