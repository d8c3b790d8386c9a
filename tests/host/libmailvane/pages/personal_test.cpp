// Personal settings: whose they are, what is stored, and the script they become.
#include <tuple>

#include "host/libmailvane/render/personal_script.h"
#include "host/libmailvane/stores/personal_settings.h"
#include "platform/mailvane/personal.h"
#include "tests/host/machine.h"

namespace {

class PersonalSettingsTest : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        const std::string me = std::to_string(getuid());
        Write(root + "/etc/passwd",
              "root:x:0:0::/home/alice:\nalice:x:" + me +
                  ":1::/home/alice:\nbob:x:2000:1::/home/bob:\n" +
                  "carol:x:2001:1::/home/alice:\n..:x:2002:1::/home/alice:\n");
        Write(root + "/home/alice/x", "");
        alice = {"alice", 2003, 1, "/home/alice"};
    }

    std::string StorePath() const { return host::PackagePath("etc/personal/alice.json"); }

    host::system::MailAccount alice;
};

std::string Script(const host::stores::PersonalSettings& settings)
{
    const std::string script = host::render::RenderPersonalScript(settings);
    return script.substr(std::min(script.find("];\n") + 3, script.size()));
}

}  // namespace

TEST_F(PersonalSettingsTest, NeedAMailUserWithAHome)
{
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"no_such_user",
         {"", "..", "../alice", "alice\n", std::string("alice\0", 6), "root", "nobody-knows"}},
        {"no_user_home", {"bob", "carol"}}};
    for (const auto& [key, users] : rows) {
        for (const std::string& user : users) {
            SCOPED_TRACE(user);
            Personal personal(user);
            EXPECT_FALSE(personal.isValid());
            EXPECT_EQ(personal.getErrKey(), key);
            EXPECT_LT(personal.save(), 0);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(host::PackagePath("etc/personal")));
}

TEST_F(PersonalSettingsTest, ComeBackAsTheyWereStored)
{
    host::stores::PersonalSettings settings;
    settings.forward = settings.keepCopy = settings.reply = true;
    settings.forwardAddress = "x@y.test";
    settings.replyEnd = std::int64_t{1} << 40;
    settings.generalReply = {"\"Grüße\"", "a\n\\b"};
    settings.senderReplies = {{"b@y.test", {"s", "m"}}, {"A@y.test", {"t", "n"}}};
    ASSERT_TRUE(host::stores::WritePersonalSettings(alice, settings));
    auto stored = host::stores::ReadPersonalSettings(alice);
    ASSERT_TRUE(stored);
    EXPECT_EQ(host::render::RenderPersonalScript(*stored),
              host::render::RenderPersonalScript(settings));
    EXPECT_EQ(host::stores::FindSenderReply(*stored, "a@Y.test"), &stored->senderReplies[1]);
    EXPECT_EQ(Mode(StorePath()), 0600U);

    // Somebody else who got the name does not get the settings.
    ++alice.uid;
    EXPECT_TRUE(host::stores::ReadPersonalSettings(alice)->forwardAddress.empty());
    for (const char* damage : {"", "[]", R"({"uid": {}})"}) {
        Write(StorePath(), damage);
        const auto read = host::stores::ReadPersonalSettings(alice);
        ASSERT_FALSE(read) << damage;
        EXPECT_EQ(read.reason().code, host::ReasonCode::kDamaged) << damage;
    }
}

TEST(PersonalScript, TakesTextsForNothingButText)
{
    const std::tuple<std::string, std::string, const char*> rows[] = {
        {"a\r\nBcc: x", "one\r\ntwo\n.\n", ":subject \"a Bcc: x\" \"one\ntwo\n.\n\""},
        {"\"; stop; \\", "\\\"", R"(:subject "\"; stop; \\" "\\\"")"},
        {"", "${hex:22}\x01\t", "vacation :days 1 \"${hex:22} \t\""},
        {"\xff", "", "refused"},
        {"", "\xe2\x82", "refused"},
        {std::string(501, 's'), "", "refused"},
        {"", std::string(16385, 'm'), "refused"},
    };
    for (const auto& [subject, message, script] : rows) {
        host::stores::PersonalSettings settings;
        settings.reply = true;
        const auto reply = host::stores::StorableReply(subject, message);
        if (reply) settings.generalReply = *reply;
        EXPECT_NE((reply ? Script(settings) : "refused").find(script), std::string::npos) << script;
    }
}

TEST(PersonalScript, AnswersSingleSendersFirstAndUpToTheLastYear)
{
    host::stores::PersonalSettings settings;
    EXPECT_EQ(host::render::RenderPersonalScript(settings), "");
    settings.reply = true;
    settings.replyEnd = INT64_MAX;
    settings.senderReplies = {{"b@y.test", {"s", "m"}}};
    const std::string script = Script(settings);
    const std::size_t general = script.find("9999-12-31T23:59:59");
    EXPECT_NE(general, std::string::npos) << script;
    EXPECT_LT(script.find("\"b@y.test\""), general);
    settings.replyEnd = -1;
    EXPECT_EQ(Script(settings).find("currentdate"), std::string::npos) << "without bounds";
}
