// Tests on the recorded machine: of single functions, and of whole requests.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/recording/json_text.h"
#include "tests/recording/world.h"

namespace recording {

/// A test that starts on a fresh machine and must leave nothing unexpected behind.
class RecordedTest : public testing::Test {
protected:
    void SetUp() override { NextCase(); }
    void TearDown() override { NextCase(); }

    /// What the machine of every case has besides; runs on the fresh machine.
    virtual void Prepare() {}

    /// Between the rows of a table: judges what is left of one and starts the next one afresh.
    void NextCase();

    World& world = TheWorld();
};

/// What became of a request.
struct Reply {
    int status = 0;      ///< exit status of the process
    std::string output;  ///< bytes of standard output
};

class ActionTest : public RecordedTest {
protected:
    /// Runs the request as it stands in `world.request`.
    Reply Run();
    /// Runs an action of the read table.
    Reply Read(const std::string& action, std::map<std::string, std::string> parameters = {});
    /// Runs an action of the write table; `body` is the rest of the JSON body.
    Reply Write(const std::string& action, const std::string& body = "{}");

    /// A table of failures, a request in each line and in those after it that are indented:
    ///     action [JSON body, or parameters as a=1&b=2] | calls | answer | log
    /// The calls, separated by " > ", are all that is called; the last of them fails. With "..." in
    /// front they are the last one's beginning, after others. The answer is
    /// "failure", "system", "section/key", "nothing" or JSON; log lines are separated by "; ".
    void ExpectFailures(const std::string& table);

private:
    void ExpectFailure(const std::string& row);
};

constexpr char kSuccess[] = R"({"success": true})";
constexpr char kFailure[] = R"({"success": false})";

/// The whole output of an action that answers once, with the default header and this body.
std::string Answer(const std::string& json);
/// The whole output of an action that sends a file.
std::string Download(const std::string& name, const std::string& bytes);
/// An answer of a failure with its message.
std::string Refusal(const std::string& section, const std::string& key);
std::string SystemError();

}  // namespace recording
