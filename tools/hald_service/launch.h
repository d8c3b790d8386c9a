// The start of a command that is or becomes a daemon.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace service {

/// A command and what it gets: an environment of its own, no descriptor but the streams, a session
/// of its own.
struct Command {
    std::vector<std::string> words;
    std::string user;                      ///< empty: root
    std::vector<std::string> environment;  ///< NAME=VALUE, beside PATH and its like
    bool isBare = false;                   ///< it gets PATH alone
    std::string output;                    ///< file for what it says, written anew; empty: nowhere
    bool appends = false;                  ///< instead of writing it anew
    mode_t mask = 022;
};

/// The words of a row of the table.
std::vector<std::string> Words(std::string_view text);

/// Starts it; the process is the caller's child. -1 (told) when that fails.
pid_t Start(const Command& command);

/// Starts it and waits for its end, at most so long; it is killed then. Its exit status, or -1.
int Run(const Command& command, std::chrono::milliseconds limit = std::chrono::minutes(1));

/// Where what a service says while it starts is kept.
std::string MessagesOf(std::string_view service);

/// Runs it with its messages kept, which are told when it fails. Whether it succeeded in time.
bool RunQuietly(std::string_view service, Command command,
                std::chrono::milliseconds limit = std::chrono::minutes(1));

/// Makes a directory, or gives one its owner, group and mode; false, told, on failure.
bool MakeFolder(const std::string& path, mode_t mode, const std::string& user = "",
                const std::string& group = "");

}  // namespace service
