// Tests on the recorded machine: of single functions, and of whole requests.
#include "tests/recording/action_test.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>
#include <vector>

#include "frame/entry.h"
#include "frame/mailvane_handler.h"

namespace recording {

namespace {

/// What an action writes to standard output, which leads to a file in memory meanwhile.
template <typename Action>
std::string OutputOf(const Action& action)
{
    const int file = memfd_create("output", MFD_CLOEXEC);
    const int saved = dup(STDOUT_FILENO);
    std::fflush(stdout);
    dup2(file, STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string bytes(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    (void)!pread(file, bytes.data(), bytes.size(), 0);
    close(file);
    return bytes;
}

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

std::map<std::string, std::string> ParametersOf(const Json::Value& request)
{
    std::map<std::string, std::string> parameters;
    for (const std::string& name : request.getMemberNames()) {
        parameters[name] = request[name].asString();
    }
    return parameters;
}

bool IsRead(const std::string& action)
{
    const auto reads = MailvaneHandler::ReadActions();
    return std::find(reads.begin(), reads.end(), action) != reads.end();
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
    Reply reply;
    reply.output = OutputOf([&reply] { reply.status = RunRequest() & 0xff; });
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

void ActionTest::ExpectFailures(const std::vector<Failure>& rows)
{
    for (const Failure& row : rows) {
        SCOPED_TRACE(row.action + " " + row.request + " when " + row.call + " fails");
        world.Fail(row.call);
        const Reply reply = IsRead(row.action)
                                ? Read(row.action, ParametersOf(ParseJson(row.request)))
                                : Write(row.action, row.request);
        EXPECT_EQ(reply.output, row.output);
        EXPECT_TRUE(world.LastCallIs(row.call)) << world.Calls();
        for (const std::string& log : row.logs) world.ExpectLog(log);
        NextCase();
    }
}

void ActionTest::LeadNowhere(const std::string& exportCall)
{
    world.On(exportCall, [this] {
        const std::string path = world.temporaryNames.begin()->first;
        return std::remove(path.c_str()) + symlink("/nonexistent/file", path.c_str());
    });
}

std::string Answer(const std::string& json)
{
    return "[header ]\n" + Compact(ParseJson(json)) + "\n";
}

std::string Download(const std::string& name, const std::string& bytes)
{
    return "Content-Type:application/octet-stream\nContent-Disposition:attachment; filename=\"" +
           name + "\"\n\n" + bytes;
}

std::string Refusal(const std::string& section, const std::string& key)
{
    return Answer(R"({"success": false, "errinfo": {"sec": ")" + section + R"(", "key": ")" + key +
                  R"("}})");
}

std::string Failed() { return Answer(R"({"success": false})"); }

std::string SystemError() { return Refusal("common", "error_system"); }

}  // namespace recording
