// Tests on the recorded machine: of single functions, and of whole requests.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

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

constexpr char kSuccess[] = R"({"success": true})";

/// The whole output of an action that answers once, with the default header and this body.
std::string Answer(const std::string& json);
/// The answer of a failure without a message.
std::string Failed();
/// The whole output of an action that sends a file.
std::string Download(const std::string& name, const std::string& bytes);
/// An answer of a failure with its message.
std::string Refusal(const std::string& section, const std::string& key);
std::string SystemError();

/// A request of which one call fails, which is then the last one. Unless a row says otherwise,
/// nothing is logged and the answer is a system error.
struct Failure {
    std::string action;
    std::string call;                    ///< the failing one, as `World::On` takes it
    std::vector<std::string> logs = {};  ///< the texts of the log lines
    std::string output = SystemError();
    std::string request = "{}";  ///< a JSON object: the body, or parameters of a read
};

class ActionTest : public RecordedTest {
protected:
    /// Runs the request as it stands in `world.request`.
    Reply Run();
    /// Runs an action of the read table.
    Reply Read(const std::string& action, std::map<std::string, std::string> parameters = {});
    /// Runs an action of the write table; `body` is the rest of the JSON body.
    Reply Write(const std::string& action, const std::string& body = "{}");

    /// Each of these requests on a fresh machine. A failure names its row.
    void ExpectFailures(const std::vector<Failure>& rows);

    /// The file that an export writes leads nowhere: it can neither be written nor read.
    void LeadNowhere(const std::string& exportCall);
};

}  // namespace recording
