// hald_rate_policy: defers messages of a login beyond its limit per hour. Postfix runs it by
// spawn(8) and asks it once for each message, at the end of its data.
//
//   hald_rate_policy LIMITS SOCKET GENERAL
//
// LIMITS is the file with limits of single logins, SOCKET that of memcached, GENERAL the limit of
// all others.
#include <syslog.h>

#include <cstdio>
#include <cstdlib>

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

std::string Decide(const Attributes& attributes, const Setup& setup, Counters& counters)
{
    const std::string login = host::names::LoginKey(Value(attributes, "sasl_username"));
    const bool isWhole = Value(attributes, "protocol_state") == "END-OF-MESSAGE";
    if (login.empty() || !isWhole) return kNothingToSay;

    const unsigned int limit = rate_policy::LimitOf(setup.limits, login, setup.general);
    const std::optional<Count> count = counters.Add(login);
    if (!count) {
        syslog(LOG_WARNING, "memcached does not answer, the mail of %s is not limited",
               login.c_str());
        return kNothingToSay;
    }
    if (count->messages <= limit) return kNothingToSay;

    counters.TakeBack(login);
    syslog(LOG_NOTICE, "over the limit: login %s, %u messages per hour, %ld seconds left",
           login.c_str(), limit, count->secondsLeft);
    return "450 4.7.1 This account has reached its limit of " + std::to_string(limit) +
           " messages per hour, try again in " + std::to_string(count->secondsLeft) + " seconds";
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 4) {
        std::fprintf(stderr, "usage: hald_rate_policy LIMITS SOCKET GENERAL\n");
        return 2;
    }
    openlog("mailvane/rate-policy", LOG_PID, LOG_MAIL);
    const Setup setup{arguments[1],
                      static_cast<unsigned int>(std::strtoul(arguments[3], nullptr, 10))};
    Counters counters(arguments[2]);
    for (Attributes attributes; rate_policy::ReadRequest(stdin, attributes);) {
        std::printf("action=%s\n\n", Decide(attributes, setup, counters).c_str());
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
