// Tests on the recorded machine: of single functions, and of whole requests.
#include "tests/recording/action_test.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
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

std::map<std::string, std::string> ParametersOf(const std::string& query)
{
    std::map<std::string, std::string> parameters;
    for (const std::string& pair : Split(query, "&")) {
        parameters[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
    }
    return parameters;
}

/// The output that the word of a table means.
std::string AnswerOf(const std::string& word)
{
    if (word == "nothing") return "";
    if (word == "failure") return Answer(kFailure);
    if (word == "system") return SystemError();

    const std::size_t slash = word.find('/');
    if (word[0] == '{' || slash == std::string::npos) return Answer(word);
    return Refusal(word.substr(0, slash), word.substr(slash + 1));
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

void ActionTest::ExpectFailures(const std::string& table)
{
    std::istringstream lines(table);
    std::vector<std::string> rows;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find_first_not_of(' ');
        if (start == 0) rows.push_back(line);
        if (start != 0 && !rows.empty())
            rows.back() += ' ' + line.substr(std::min(start, line.size()));
    }
    for (const std::string& row : rows) ExpectFailure(row);
}

void ActionTest::ExpectFailure(const std::string& row)
{
    SCOPED_TRACE(row);
    const std::vector<std::string> columns = Split(row, " | ");
    ASSERT_GE(columns.size(), 3U);
    const std::string action = columns[0].substr(0, columns[0].find(' '));
    const std::string more = columns[0].substr(std::min(action.size() + 1, columns[0].size()));
    const std::vector<std::string> calls = Split(columns[1], " > ");

    world.Fail(calls.back());
    const Reply reply = IsRead(action) ? Read(action, ParametersOf(more))
                                       : Write(action, more.empty() ? "{}" : more);
    EXPECT_EQ(reply.output, AnswerOf(columns[2]));
    if (calls.front() == "...") {
        const std::size_t last = world.Calls().rfind('\n', world.Calls().size() - 2) + 1;
        EXPECT_EQ(world.Calls().compare(last, calls.back().size(), calls.back()), 0);
    } else {
        EXPECT_EQ(world.Calls(), Lines(calls));
    }
    if (columns.size() > 3) world.ExpectLogs(columns[3]);
    NextCase();
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

std::string SystemError()
{
    return Refusal("common", "error_system");
}

}  // namespace recording
