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
