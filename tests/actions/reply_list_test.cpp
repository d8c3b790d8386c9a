// Automatic replies to single senders.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using ReplyList = ActionTest;

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
