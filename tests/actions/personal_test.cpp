// Personal settings and the report: forwarding, replies, replies to single senders, report.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using LoadPersonal = ActionTest;
using SavePersonal = ActionTest;
using ReplyList = ActionTest;
using Report = ActionTest;

const char kMask[] = "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD";

PersonalData Invalid(const char* errKey)
{
    PersonalData data;
    data.valid = false;
    data.errKey = errKey;
    return data;
}

PersonalData WithReplies(int count)
{
    PersonalData data;
    for (int i = 0; i < count; ++i) data.senderReplies["s" + std::to_string(i)] = {"s", "m"};
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
        world.personal["bob"] = {
            true, "", true, "x@y", true, row.reply, row.begin, row.end, {"Away", "Soon"}, {}};
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
        EXPECT_NE(world.Calls().find(std::string("Personal::") + call), std::string::npos) << call;
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

TEST_F(ReplyList, ServesTheCallerAloneAndSaysWhenThatIsImpossible)
{
    for (const std::string action :
         {"load_reply_list", "set_reply_setting", "delete_reply_setting"}) {
        SCOPED_TRACE(action);
        world.personal["admin"] = Invalid("no_user_home");
        EXPECT_EQ((action[0] == 'l' ? Read(action, {{"user", "bob"}})
                                    : Write(action, R"({"user": "bob", "delete_list": ["x"]})"))
                      .output,
                  Refusal("error", "no_user_home"));
        EXPECT_EQ(world.Calls(), Lines({"Personal::Personal admin"}));
        NextCase();
    }
    world.request.loginName.reset();
    EXPECT_EQ(Read("load_reply_list").output, Answer(R"({"success": true, "replies": []})"));
    EXPECT_EQ(world.Calls(), Lines({"Personal::Personal \"\"", "Personal::GetReplyList"}));
}

TEST_F(ReplyList, LeavesOutWhatCannotBeRead)
{
    world.personal["admin"] = WithReplies(3);
    world.Fail("Personal::ReadReplyContent s1");
    EXPECT_EQ(Read("load_reply_list").output, Answer(R"({"success": true, "replies":
                         [{"sender": "s0", "subject": "s", "message": "m"},
                          {"sender": "s2", "subject": "s", "message": "m"}]})"));
}

TEST_F(ReplyList, HoldsSixtyFourRepliesAndLosesTheOneThatAnEditReplaces)
{
    const struct {
        int before;
        const char* body;
        bool fails;
        std::string answer;
        std::size_t after;
    } rows[] = {
        {63, R"({"sender": "n"})", false, Answer(kSuccess), 64},
        {64, R"({"sender": "n"})", false, Refusal("common", "reach_limitation"), 64},
        {64, R"({"sender": "n", "orgSetting": {"sender": "s1"}})", false, Answer(kSuccess), 64},
        {65, R"({"sender": "n", "orgSetting": {"sender": "s1"}})", false,
         Refusal("common", "reach_limitation"), 64},
        {2, R"({"sender": "n", "orgSetting": {"sender": "s1"}})", true, SystemError(), 1},
        {2, R"({"sender": "n", "orgSetting": null})", true, SystemError(), 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.before) + row.body);
        world.personal["admin"] = WithReplies(row.before);
        if (row.fails) world.Fail("Personal::WriteReplyContent n");
        EXPECT_EQ(Write("set_reply_setting", row.body).output, row.answer);
        EXPECT_EQ(world.personal["admin"].senderReplies.size(), row.after);
        NextCase();
    }
}

TEST_F(ReplyList, RemovesWhatThereIs)
{
    world.personal["admin"] = WithReplies(3);
    world.Fail("Personal::RemoveReplySetting s0");
    EXPECT_EQ(Write("delete_reply_setting", R"({"delete_list": ["s0", "none", "s2"]})").output,
              Answer(kSuccess));
    EXPECT_EQ(Write("delete_reply_setting", R"({"delete_list": []})").output, Answer(kSuccess));
    EXPECT_EQ(world.personal["admin"].senderReplies.size(), 2U);
}

TEST_F(Report, KeepsThePasswordThatComesBackMaskedAndNeverShowsIt)
{
    const std::pair<std::string, std::string> rows[] = {
        {std::string(R"("auth_password": ")") + kMask + '"', "old"},
        {R"("auth_password": "")", ""},
        {R"("auth_password": "\ufffd")", "\uFFFD"},
        {R"("hours": 7)", ""}};
    for (const auto& [password, stored] : rows) {
        SCOPED_TRACE(password);
        world.report.smtp.password = "old";
        EXPECT_EQ(Write("save_report", R"({"enable_report": true, "report_rcpt": "r",
                        "report_sender_name": "n", "report_sender_mail": "m", "mins": 99,
                        "smtp_provider": "p", "smtp_server": "s", "smtp_port": 587,
                        "smtp_auth": true, "auth_name": "a", "smtp_security_conn": true, )" +
                                           password + "}")
                      .output,
                  Answer(kSuccess));
        EXPECT_EQ(world.report.smtp.password, stored);
        EXPECT_EQ(Read("load_report").output,
                  Answer(R"({"success": true, "enable_report": true, "report_rcpt": "r",
                             "report_sender_name": "n", "report_sender_mail": "m", "hours": )" +
                         std::to_string(world.report.time.hours) + R"(, "mins": 99,
                             "smtp_provider": "p", "smtp_server": "s", "smtp_port": 587,
                             "smtp_auth": true, "auth_name": "a", "auth_password": ")" +
                         kMask + R"(", "smtp_security_conn": true})"));
        NextCase();
    }
}

TEST_F(Report, AnswersEveryExceptionAndStoresNothingAfterIt)
{
    for (const std::string call : {"Reporter::LoadSetting", "Reporter::SetRcpt",
                                   "Reporter::SetSMTP", "Reporter::SaveSetting"}) {
        SCOPED_TRACE(call);
        world.Fail(call);
        EXPECT_EQ(Write("save_report", R"({"enable_report": true})").output, SystemError());
        EXPECT_FALSE(world.report.enabled);
        NextCase();
    }
    EXPECT_EQ(Write("save_report", R"({"hours": "late"})").output, SystemError());

    world.On("Reporter::LoadSetting", []() -> int { throw 5; });
    EXPECT_EQ(Read("load_report").output, SystemError());
}
