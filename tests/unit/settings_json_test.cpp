// Typed settings and JSON, in both directions.
#include "frame/settings_json.h"

#include <json/value.h>

#include "platform/mailvane/imap_pop3.h"
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class SettingsJson : public RecordedTest {
protected:
    void Prepare() override
    {
        world.imapPop3 = Settings(R"({"number": 7, "text": "old", "flag": true})");
    }

    /// Loads the settings and stores what the conversion made of them.
    void Take(const std::string& request)
    {
        ImapPop3 store;
        ASSERT_EQ(store.LoadSettings(), 0);
        AllSettingsFromJson(ParseJson(request), store);
        ASSERT_EQ(store.SaveSettings({}), 0);
    }
};

}  // namespace

TEST_F(SettingsJson, TakesPresentMembersByTheTypeOfTheKey)
{
    const std::pair<const char*, const char*> rows[] = {
        {R"({"text": "", "flag": false})", R"({"number": 7, "text": "", "flag": false})"},
        // null is a member that is present
        {R"({"number": null, "text": null, "flag": null})",
         R"({"number": 0, "text": "", "flag": false})"},
        // what the JSON library converts
        {R"({"number": 25.9, "text": 25, "flag": 2})",
         R"({"number": 25, "text": "25", "flag": true})"},
        {R"({"number": true, "text": true, "flag": 0})",
         R"({"number": 1, "text": "true", "flag": false})"},
        {R"({"unknown": 1, "Number": 2, "number ": 3})",
         R"({"number": 7, "text": "old", "flag": true})"},
    };
    for (const auto& [request, want] : rows) {
        SCOPED_TRACE(request);
        Take(request);
        EXPECT_EQ(Compact(world.imapPop3.ToJson()), Compact(ParseJson(want)));
        NextCase();
    }
}

TEST_F(SettingsJson, ThrowsForAMemberThatCannotBeConverted)
{
    for (const char* request : {R"({"number": "25"})", R"({"number": {}})", R"({"number": 1e10})",
                                R"({"flag": "true"})", R"({"flag": []})", R"({"text": {}})"}) {
        SCOPED_TRACE(request);
        ImapPop3 store;
        ASSERT_EQ(store.LoadSettings(), 0);
        EXPECT_THROW(AllSettingsFromJson(ParseJson(request), store), Json::LogicError);
    }
}
