// Starting the command of a daemon.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace service {

/// A command and its environment. It gets its own session and no descriptors but the standard
/// streams.
struct Command {
    std::vector<std::string> words;
    std::string user;                      ///< runs as this user; empty: root
    std::vector<std::string> environment;  ///< NAME=VALUE, besides PATH and the like
    bool isBare = false;                   ///< PATH is its only variable
    std::string output;                    ///< file for its output; empty: /dev/null
    bool appends = false;                  ///< appends to that file instead of replacing it
    mode_t mask = 022;
};

/// The words of a text from the table of daemons.
std::vector<std::string> Words(std::string_view text);

/// Starts a command as a child of the caller. -1 (reported) on failure.
pid_t Start(const Command& command);

/// Runs a command and returns its exit status; -1 when it failed or was killed after `limit`.
int Run(const Command& command, std::chrono::milliseconds limit = std::chrono::minutes(1));

/// Path of the file with what a service printed at its last start.
std::string MessagesOf(std::string_view service);

/// Runs a command with its output in that file; the output is reported on failure. False on failure
/// or when killed after `limit`.
bool RunQuietly(std::string_view service, Command command,
                std::chrono::milliseconds limit = std::chrono::minutes(1));

/// Makes a directory, or sets owner, group and mode of an existing one; false (reported) on
/// failure.
bool MakeFolder(const std::string& path, mode_t mode, const std::string& user = "",
                const std::string& group = "");

}  // namespace service
