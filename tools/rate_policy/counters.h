// Counters of messages, kept in memcached.
#pragma once

#include <optional>
#include <string>

namespace rate_policy {

struct Count {
    unsigned long long messages = 0;  ///< in the current hour, with the one just counted
    long secondsLeft = 0;             ///< until the hour ends
};

/// A client of memcached. The hour of a login begins with its first message and ends when its
/// counter expires. Each answer takes half a second at most.
class Counters {
public:
    explicit Counters(std::string socketPath);
    ~Counters();
    Counters(const Counters&) = delete;
    Counters& operator=(const Counters&) = delete;

    /// Counts one message of a login (its key). Nothing when memcached does not answer.
    std::optional<Count> Add(const std::string& login);

    /// Uncounts one message, since the counter is for accepted messages only.
    void TakeBack(const std::string& login);

    /// The name of a login's counter in memcached: without blanks and control characters, and
    /// within the length limit, whatever the login.
    static std::string KeyOf(const std::string& login);

private:
    std::optional<Count> Ask(const std::string& command);
    bool Connect();
    void Disconnect();
    bool Send(const std::string& bytes) const;
    std::optional<std::string> ReadLine();

    std::string path_;
    int socket_ = -1;
    std::string pending_;  ///< received and not yet read
};

}  // namespace rate_policy
