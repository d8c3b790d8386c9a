// Starting programs: argument vectors, a fixed PATH, a clean environment, no shell.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// As much of the output of a program as is captured, of each stream.
constexpr std::size_t kMostCaptured = std::size_t{1} << 20;

struct ProgramResult {
    int status = -1;     ///< exit status; -1 when it could not run, was killed or ran too long
    std::string output;  ///< standard output, only when `capture` was asked for
    std::string errors;  ///< standard error, only when `capture` was asked for

    bool Succeeded() const { return status == 0; }
};

struct ProgramOptions {
    std::chrono::milliseconds limit{120000};  ///< zero for none; the program is killed after it
    bool capture = false;                     ///< keep the output instead of logging it
    std::string input;                        ///< written to its standard input
};

/// Runs `arguments[0]` (an absolute path) and waits. A program under the package's `bin` inherits
/// the request lock. Failure is logged with name and status, never with the arguments; the exit
/// status of a program whose output is captured is the caller's to judge and is not logged. Its end
/// is not that of its output: a daemon that it leaves behind needs output streams of its own, since
/// these have no reader any more.
ProgramResult RunProgram(const std::vector<std::string>& arguments,
                         const ProgramOptions& options = {});

/// Runs several programs at the same time and waits for all; results in the order given.
std::vector<ProgramResult> RunPrograms(const std::vector<std::vector<std::string>>& programs,
                                       const ProgramOptions& options = {});

}  // namespace host
