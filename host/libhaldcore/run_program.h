// Running programs: by argument vectors, with a fixed PATH and a clean environment, without a
// shell.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host {

/// The largest captured output of each stream, in bytes; the rest is dropped.
constexpr std::size_t kMostCaptured = std::size_t{1} << 20;

struct ProgramResult {
    int status = -1;     ///< exit status; -1 when not started, killed or out of time
    std::string output;  ///< standard output, if captured
    std::string errors;  ///< standard error, if captured

    /// Fails unless the exit status is 0. The reason has the program's path, never its arguments.
    Result<void> done;

    bool Succeeded() const { return status == 0; }

    /// The causes of a reason that is made of `errors`: why there is no exit status, if so.
    std::vector<Reason> Causes() const;
};

struct ProgramOptions {
    std::chrono::milliseconds limit{120000};  ///< the program is killed after it; zero for none
    bool capture = false;                     ///< return the output instead of logging it
    std::string input;                        ///< written to its standard input
    int file = -1;                            ///< its standard input instead; stays the caller's
};

/// Runs `arguments[0]` (an absolute path) and waits for its end. A program below the package's
/// `bin` inherits the request lock. Output ends with the program: a daemon that it leaves behind
/// must open its own streams, since these are not read any more.
ProgramResult RunProgram(const std::vector<std::string>& arguments,
                         const ProgramOptions& options = {});

/// Runs several programs, some of them at once, and waits for all. Results are in the same order.
std::vector<ProgramResult> RunPrograms(const std::vector<std::vector<std::string>>& programs,
                                       const ProgramOptions& options = {});

}  // namespace host
