// Tests on the recorded machine: of single functions, and of whole requests.
#include "tests/recording/action_test.h"

#include <cstdlib>
#include <fstream>
#include <utility>

#include "frame/entry.h"
#include "tests/recording/output_capture.h"

namespace recording {

namespace {

const char* KindOf(const Request& request)
{
    if (request.upload) return "upload";
    return request.body ? "write" : "read";
}

std::string ActionOf(const Request& request)
{
    if (request.upload) return "upload";
    if (request.body) return request.body->get("action", "").asString();
    const auto action = request.parameters.find("action");
    return action == request.parameters.end() ? "" : action->second;
}

/// Adds a JSON answer to the file named by MAILVANE_ANSWERS, for who judges all of them.
void KeepAnswer(const Request& request, const std::string& output)
{
    const char* const path = std::getenv("MAILVANE_ANSWERS");
    const auto body = output.find("]\n");
    if (path == nullptr || output.rfind("[header ", 0) != 0 || body == std::string::npos) return;

    std::ofstream(path, std::ios::app)
        << KindOf(request) << ' ' << ActionOf(request) << ' ' << output.substr(body + 2);
}

}  // namespace

void RecordedTest::NextCase()
{
    world.ExpectNothingLeft();
    world.Reset();
    Prepare();
}

Reply ActionTest::Run()
{
    const OutputCapture capture;
    Reply reply;
    reply.status = RunRequest() & 0xff;
    reply.output = capture.Bytes();
    KeepAnswer(world.request, reply.output);
    return reply;
}

Reply ActionTest::Read(const std::string& action, std::map<std::string, std::string> parameters)
{
    world.request.parameters = std::move(parameters);
    world.request.parameters["action"] = action;
    world.request.body.reset();
    return Run();
}

Reply ActionTest::Write(const std::string& action, const std::string& body)
{
    world.request.body = ParseJson(body);
    (*world.request.body)["action"] = action;
    return Run();
}

std::string Answer(const std::string& json)
{
    return "[header ]\n" + Compact(ParseJson(json)) + "\n";
}

std::string Refusal(const std::string& section, const std::string& key)
{
    return Answer(R"({"success": false, "errinfo": {"sec": ")" + section + R"(", "key": ")" + key +
                  R"("}})");
}

std::string SystemError()
{
    return Refusal("common", "error_system");
}

}  // namespace recording
