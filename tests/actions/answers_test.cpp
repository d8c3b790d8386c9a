// The answers that handlers build and send.
#include <gtest/gtest.h>

#include "frame/mailvane_handler.h"
#include "tests/recording/action_test.h"
#include "tests/recording/output_capture.h"

using recording::Compact;
using recording::ParseJson;

namespace {

class Answers : public recording::ActionTest {
protected:
    /// What a handler writes to standard output.
    template <typename Action>
    std::string Written(const Action& action)
    {
        const recording::OutputCapture capture;
        MailvaneHandler handler;
        action(handler);
        return capture.Bytes();
    }
};

}  // namespace

TEST_F(Answers, AddFlagAndMessageBesideTheMembersThatAreThere)
{
    MailvaneHandler handler;
    Json::Value response;
    handler.SetSuccess(response, true);
    EXPECT_EQ(Compact(response), R"({"success":true})");

    response["items"] = 1;
    handler.SetError(response, "common", "error_system");
    handler.SetSuccess(response, false);
    EXPECT_EQ(Compact(response), R"({"errinfo":{"key":"error_system","sec":"common"},"items":1,)"
                                 R"("success":false})");

    Json::Value withLine;
    handler.SetErrorLine(withLine, "msg", "error_system", 2860);
    EXPECT_EQ(Compact(withLine), R"({"errinfo":{"key":"error_system","line":2860,"sec":"msg"}})");
}

TEST_F(Answers, HaveTheDefaultHeaderOrTheirOwn)
{
    const Json::Value body = ParseJson(R"({"a": [1, null]})");
    EXPECT_EQ(Written([&](MailvaneHandler& handler) { handler.SendResponse(body); }),
              "[header ]\n{\"a\":[1,null]}\n");
    EXPECT_EQ(Written([&](MailvaneHandler& handler) {
                  handler.SendResponseAs(Json::Value(), "text/html; charset=\"UTF-8\"");
              }),
              "[header text/html; charset=\"UTF-8\"]\nnull\n");
}

TEST_F(Answers, RefuseADemonstration)
{
    EXPECT_EQ(Written([](MailvaneHandler& handler) { handler.SendDemoRefusal(); }),
              recording::Refusal("common", "error_demo"));
}
