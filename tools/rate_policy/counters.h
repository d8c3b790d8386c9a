// Counters of messages, kept in memcached.
#pragma once

#include <optional>
#include <string>

#include "host/libmailvane/names/socket_address.h"

namespace rate_policy {

struct Count {
    unsigned long long messages = 0;  ///< in the current hour, with the one just counted
    long secondsLeft = 0;             ///< until the hour ends
};

/// A client of memcached, which listens at a unix socket or at an address with a port. The hour of
/// a login begins with its first message and ends when its counter expires. To connect takes half a
/// second at most, and so does each answer.
class Counters {
public:
    /// `place` is the path of the socket, or the address: `192.0.2.1:11211`.
    explicit Counters(const std::string& place);
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

    host::names::SocketAddress server_;
    int socket_ = -1;
    std::string pending_;  ///< received and not yet read
};

}  // namespace rate_policy
