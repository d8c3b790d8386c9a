// The road of a request from its start to the action, and every way it ends early.
#include <cstdio>
#include <stdexcept>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class Dispatch : public ActionTest {
protected:
    /// A request that must end with exit status 255, no output and one log line. The number of that
    /// line.
    int Dies(const std::string& text)
    {
        const Reply reply = Run();
        EXPECT_EQ(reply.status, 255);
        EXPECT_EQ(reply.output, "");
        const std::string line = world.TakeLog();
        EXPECT_NE(line.find(text), std::string::npos) << line;
        EXPECT_TRUE(world.LogIsEmpty());
        int number = 0;
        EXPECT_EQ(std::sscanf(line.c_str(), "mailvane:%d ", &number), 1) << line;
        return number;
    }

    void SendBody(const std::string& json) { world.request.body = ParseJson(json); }
};

template <typename Exception>
World::Effect Throws(const char* text)
{
    return [text]() -> int { throw Exception(text); };
}

}  // namespace

TEST_F(Dispatch, DoesNothingForStrangers)
{
    for (const bool upload : {false, true}) {
        world.journalAll = true;
        world.request.authorized = false;
        world.request.upload = upload;
        world.request.parameters["action"] = "load_smtp";
        SendBody(R"({"action": "save_smtp"})");
        const Reply reply = Run();
        EXPECT_EQ(reply.status, 0);
        EXPECT_EQ(reply.output, "");
        EXPECT_EQ(world.Calls(), Lines({"ServerFormHandler::ServerFormHandler false null",
                                        "WebMan::IsAuthorized null 3 1",
                                        "ServerFormHandler::~ServerFormHandler"}));
        NextCase();
    }
}

TEST_F(Dispatch, LoadsTheRequestThenLooksTheActionUp)
{
    world.journalAll = true;
    world.Fail("WebMan::LoadIn");  // not looked at: a platform that refuses a request throws
    Dies("invalid action: load");
    EXPECT_EQ(
        world.Calls(),
        Lines({"ServerFormHandler::ServerFormHandler false null", "WebMan::IsAuthorized null 3 1",
               "WebMan::IsUploadRequest", "WebMan::LoadIn", "WebMan::In", "WebMan::In action load",
               "ServerFormHandler::~ServerFormHandler", "syslog invalid action: load"}));
}

TEST_F(Dispatch, KnowsReadActionsByTheirExactNames)
{
    for (const char* action :
         {"Load_SMTP", "load_smtp ", "load_smt", "load_smtpx", "", "save_smtp"}) {
        SCOPED_TRACE(action);
        world.request.parameters["action"] = action;
        Dies(std::string("invalid action: ") + action);
        EXPECT_EQ(world.Calls(), "");
        NextCase();
    }
}

TEST_F(Dispatch, KnowsWriteActionsByTheirExactNames)
{
    const std::pair<const char*, const char*> rows[] = {
        {"{}", ""},
        {R"({"action": null})", ""},
        {R"({"action": 5})", "5"},
        {R"({"action": "load_smtp"})", "load_smtp"},
        {R"({"action": "save_smtp "})", "save_smtp "},
        {R"({"action": "save_smtp\u0000"})", "save_smtp"},
        {"null", ""},
    };
    for (const auto& [body, action] : rows) {
        SCOPED_TRACE(body);
        world.request.parameters["action"] = "load_smtp";  // a body is what decides
        SendBody(body);
        Dies(std::string("invalid action: ") + action);
        EXPECT_EQ(world.Calls(), "");
        EXPECT_EQ(*world.request.body, ParseJson(body));
        NextCase();
    }
}

TEST_F(Dispatch, NeverLooksAnUploadUpByName)
{
    world.journalAll = true;
    world.request.upload = true;
    world.request.parameters["action"] = "load_smtp";
    SendBody(R"({"action": "save_smtp"})");
    Run();
    EXPECT_EQ(world.Calls().find("WebMan::LoadIn\n"), std::string::npos);
    EXPECT_EQ(world.Calls().find("Postfix"), std::string::npos);
    while (!world.LogIsEmpty()) world.TakeLog();
}

TEST_F(Dispatch, EndsWithoutAnAnswerAfterAnExceptionAndTellsTheTwoKindsApart)
{
    world.request.parameters["action"] = "unknown";
    const int unknownAction = Dies("invalid action: unknown");
    NextCase();

    // Thrown by the construction, by the loading, in the middle of an action.
    int other = 0;
    for (const char* call : {"ServerFormHandler::ServerFormHandler", "WebMan::LoadIn",
                             "Postfix::LoadSettings", "HALDWinsIsJoined"}) {
        SCOPED_TRACE(call);
        world.request.parameters["action"] = "load_smtp";
        world.On(call, Throws<std::runtime_error>("no memory left"));
        other = Dies("no memory left");
        EXPECT_NE(other, unknownAction);
        NextCase();

        world.request.parameters["action"] = "load_smtp";
        world.On(call, Throws<std::invalid_argument>("odd"));
        EXPECT_EQ(Dies("odd"), unknownAction);
        NextCase();
    }

    for (const char* body : {"[]", "7", "\"save_smtp\"", R"({"action": {}})"}) {
        SCOPED_TRACE(body);
        SendBody(body);
        EXPECT_EQ(Dies(""), other);
        EXPECT_EQ(world.Calls(), "");
        NextCase();
    }
}

TEST_F(Dispatch, OnlyLogsWhatTheDestructorThrows)
{
    world.On("ServerFormHandler::~ServerFormHandler", Throws<std::runtime_error>("late"));
    world.Fail("Postfix::LoadSettings");
    const Reply reply = Read("load_smtp");
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(reply.output, SystemError());
    world.ExpectLog("late");
}
