// Settings of the daily report.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using Report = ActionTest;

const char kMask[] = "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD";

}  // namespace

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
