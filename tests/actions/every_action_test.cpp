// What holds for every action.
#include "tests/recording/action_test.h"

#include <set>

#include "frame/mailvane_handler.h"

using namespace recording;

namespace {

/// These have answers of their own, in the tests of their pages.
const std::set<std::string> kOthers = {"add_bcc", "alias_mem_enum", "check_virus_status",
                                       "edit_bcc", "set_sender_quota"};

class EveryAction : public ActionTest {
protected:
    void Prepare() override
    {
        world.users.resize(1);
        world.users.front().name = "ann";
    }

    Reply Request(const std::string& action, bool isRead)
    {
        return isRead ? Read(action) : Write(action);
    }

    /// Whether the action makes a call when all goes well.
    bool Makes(const std::string& call, const std::string& action, bool isRead)
    {
        (void)Request(action, isRead);
        const bool made = world.HasCalled(call);
        while (!world.LogIsEmpty()) world.TakeLog();
        NextCase();
        return made;
    }
};

}  // namespace

TEST_F(EveryAction, EndsWithASystemErrorWhereSettingsCannotBeLoadedOrSaved)
{
    int found = 0;
    const std::pair<bool, std::vector<std::string>> tables[] = {
        {true, MailvaneHandler::ReadActions()}, {false, MailvaneHandler::WriteActions()}};
    for (const auto& [isRead, actions] : tables) {
        for (const std::string& action : actions) {
            for (const char* service : {"Postfix", "ImapPop3", "MailScanner"}) {
                for (const char* step : {"::LoadSettings", "::SaveSettings"}) {
                    const std::string call = std::string(service).append(step);
                    if (kOthers.count(action) > 0 || !Makes(call, action, isRead)) continue;

                    SCOPED_TRACE(std::string(action).append(" when ").append(call));
                    ++found;
                    world.Fail(call);
                    EXPECT_EQ(Request(action, isRead).output, SystemError());
                    EXPECT_TRUE(world.LastCallIs(call)) << world.Calls();
                    while (!world.LogIsEmpty()) world.TakeLog();
                    NextCase();
                }
            }
        }
    }
    EXPECT_GT(found, 30);
}

TEST_F(EveryAction, ReadsAllMembersOfAnEditBeforeItsFirstChange)
{
    const struct {
        const char* action;
        const char* body;  ///< the last member that is read has a value of a wrong kind
    } rows[] = {
        {"edit_access", R"({"name": "n", "accessType": 0, "nameType": 0, "permission": {}})"},
        {"edit_bcc", R"({"bccTo": "a@b", "name": "n", "bccType": "1"})"},
        {"edit_spam_blackwhite_list", R"({"name": "n", "nameType": "0"})"},
        {"set_sender_quota", R"({"sasl_sender": "ann", "orgSetting": {}, "quota": 4294967295})"},
        {"set_attachment_filter", R"({"modified_list": ["exe"], "add_list": [{}]})"},
        {"set_reply_setting", R"({"orgSetting": {"sender": "a"}, "sender": "b", "message": {}})"},
        {"delete_reply_setting", R"({"delete_list": ["a", {}]})"},
        {"save_personal", R"({"subject": "s", "message": {}})"},
        {"save_spam_rules", R"({"modifiedList": [{"ruleName": "a"}, {"isEnable": "x"}]})"},
        {"delete_rules", R"({"deleteList": [{"ruleName": "a"}, {"ruleName": {}}]})"},
    };
    for (const auto& [action, body] : rows) {
        SCOPED_TRACE(action);
        EXPECT_EQ(Write(action, body).status, 255);
        EXPECT_FALSE(world.LogIsEmpty());
        (void)world.TakeLog();
        for (const char* change : {"::delete", "::add", "::Delete", "::Add", "::Set", "::Write",
                                   "::Remove", "::enable", "::disable"}) {
            EXPECT_EQ(world.Calls().find(change), std::string::npos) << world.Calls();
        }
        NextCase();
    }
}
