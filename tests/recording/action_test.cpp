// Tests on the recorded machine: of single functions, and of whole requests.
#include "tests/recording/action_test.h"

#include <utility>

#include "frame/entry.h"
#include "tests/recording/output_capture.h"

namespace recording {

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
