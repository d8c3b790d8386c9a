// hald_rate_policy: defers messages of a login beyond its limit per hour. Postfix runs it by
// spawn(8) and asks it once for each message, at the end of its data.
//
//   hald_rate_policy LIMITS SOCKET GENERAL [ADDRESS:PORT]
//
// LIMITS is the file with limits of single logins, SOCKET that of memcached, GENERAL the limit of
// all others. With ADDRESS the memcached there counts, which several machines share; that of SOCKET
// does while it is away.
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "host/libmailvane/names/login_key.h"
#include "tools/rate_policy/counters.h"
#include "tools/rate_policy/limits.h"
#include "tools/rate_policy/request.h"

namespace {

using rate_policy::Attributes;
using rate_policy::Count;
using rate_policy::Counters;

const char kNothingToSay[] = "DUNNO";

struct Setup {
    std::string limits;
    unsigned int general;
};

std::string Value(const Attributes& attributes, const char* name)
{
    const auto found = attributes.find(name);
    return found == attributes.end() ? "" : found->second;
}

/// Those who can count, the best first.
using Counting = std::vector<std::unique_ptr<Counters>>;

/// Counts one message, and tells who did; nothing when nobody can.
std::optional<Count> Add(const Counting& counting, const std::string& login, Counters*& counter)
{
    for (const auto& one : counting) {
        const std::optional<Count> count = one->Add(login);
        counter = one.get();
        if (count) return count;
        if (one != counting.back()) {
            syslog(LOG_WARNING, "the shared memcached does not answer, %s is counted here",
                   login.c_str());
        }
    }
    return std::nullopt;
}

std::string Decide(const Attributes& attributes, const Setup& setup, const Counting& counting)
{
    const std::string login = host::names::LoginKey(Value(attributes, "sasl_username"));
    const bool isWhole = Value(attributes, "protocol_state") == "END-OF-MESSAGE";
    if (login.empty() || !isWhole) return kNothingToSay;

    const unsigned int limit = rate_policy::LimitOf(setup.limits, login, setup.general);
    Counters* counter = nullptr;
    const std::optional<Count> count = Add(counting, login, counter);
    if (!count) {
        syslog(LOG_WARNING, "memcached does not answer, the mail of %s is not limited",
               login.c_str());
        return kNothingToSay;
    }
    if (count->messages <= limit) return kNothingToSay;

    counter->TakeBack(login);
    syslog(LOG_NOTICE, "over the limit: login %s, %u messages per hour, %ld seconds left",
           login.c_str(), limit, count->secondsLeft);
    return "450 4.7.1 This account has reached its limit of " + std::to_string(limit) +
           " messages per hour, try again in " + std::to_string(count->secondsLeft) + " seconds";
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 4 && count != 5) {
        std::fprintf(stderr, "usage: hald_rate_policy LIMITS SOCKET GENERAL [ADDRESS:PORT]\n");
        return 2;
    }
    openlog("mailvane/rate-policy", LOG_PID, LOG_MAIL);
    const Setup setup{arguments[1],
                      static_cast<unsigned int>(std::strtoul(arguments[3], nullptr, 10))};
    Counting counting;
    if (count == 5) counting.push_back(std::make_unique<Counters>(arguments[4]));
    counting.push_back(std::make_unique<Counters>(arguments[2]));
    for (Attributes attributes; rate_policy::ReadRequest(stdin, attributes);) {
        std::printf("action=%s\n\n", Decide(attributes, setup, counting).c_str());
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
