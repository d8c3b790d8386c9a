// The counters of the messages, kept in memcached.
#pragma once

#include <optional>
#include <string>

namespace rate_policy {

struct Count {
    unsigned long long messages = 0;  ///< in the current hour, the one just counted included
    long secondsLeft = 0;             ///< until the hour is over
};

/// A client of the one memcached that keeps the counters. An hour of a login begins with its first
/// message and ends with the life of its counter. No answer takes longer than half a second.
class Counters {
public:
    explicit Counters(std::string socketPath);
    ~Counters();
    Counters(const Counters&) = delete;
    Counters& operator=(const Counters&) = delete;

    /// Counts one message of a login, by its key. Nothing when memcached does not answer.
    std::optional<Count> Add(const std::string& login);

    /// Takes one message back, so that the counter holds what was let through.
    void TakeBack(const std::string& login);

    /// The name of a login's counter: free of blanks and control characters, and no longer than
    /// memcached takes, whatever the login.
    static std::string KeyOf(const std::string& login);

private:
    std::optional<Count> Ask(const std::string& command);
    bool Connect();
    void Disconnect();
    bool Send(const std::string& bytes) const;
    std::optional<std::string> ReadLine();

    std::string path_;
    int socket_ = -1;
    std::string pending_;  ///< read and not yet used
};

}  // namespace rate_policy
