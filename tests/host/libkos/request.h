// Runs one request as a web server would: an environment, a body, a process of its own.
#pragma once

#include <functional>
#include <map>

#include "tests/host/machine.h"

using Environment = std::map<std::string, std::string>;

struct Answer {
    int status = -1;        ///< exit status of the process, or minus the signal that ended it
    std::string output;     ///< all of its standard output
    std::string log;        ///< its lines in the system log
    std::string remaining;  ///< what it left unread of the body

    /// The first line, "" when the header has no Status.
    std::string StatusLine() const;
    /// What follows the header.
    std::string Body() const;
};

/// Accounts: alice (a member of the administrators), petra (by her primary group), carl (a member,
/// expiring in a far future), eve (a member, expired), bob (none).
class RequestTest : public Machine {
protected:
    void SetUp() override;

    /// Carries out `serve` as a request; its result is the exit status.
    Answer Run(const Environment& environment, const std::string& body = "",
               const std::function<int()>& serve = Imitate) const;

private:
    /// Does what is asked as the real program would, and answers what it saw as a JSON object.
    static int Imitate();
};

/// The length and type of a body, by alice, from the command line.
Environment Sends(const std::string& type, const std::string& body);

/// An upload whose parts are given with their headers, each "header\r\n\r\ncontent".
std::string Multipart(const std::initializer_list<std::string>& parts);
constexpr char kMultipart[] = "multipart/form-data; boundary=XyZ";
