// The guard of the web login: whose failures it finds in a log, and when they are too many.
#include <gtest/gtest.h>

#include "tools/login_guard/failures.h"
#include "tools/login_guard/source.h"

namespace {

using guard::Clock;
using guard::Failures;
using guard::Source;

/// The address of a source, "" for none.
std::string Text(const std::optional<Source>& source)
{
    return source ? source->address : "";
}

std::string Lighttpd(const std::string& name, const std::string& address)
{
    return "2026-11-22 04:27:45: (mod_auth.c.853) password doesn't match for /mailvane.cgi "
           "username: " +
           name + " IP: " + address;
}

TEST(FailedLogin, IsItsClientsAndNobodyElses)
{
    const std::string other = "2026-11-22T04:27:45+00:00 failed login IP: ";
    const std::pair<std::string, const char*> rows[] = {
        {Lighttpd("admin", "203.0.113.7"), "203.0.113.7"},
        {Lighttpd("x IP: 1.2.3.4", "203.0.113.7"), "203.0.113.7"},
        {Lighttpd("", "203.0.113.7"), "203.0.113.7"},
        {Lighttpd("admin", "::ffff:203.0.113.7"), "203.0.113.7"},
        {Lighttpd("admin", "2001:db8:1:2:3:4:5:6"), "2001:db8:1:2::"},
        {other + "203.0.113.7", "203.0.113.7"},
        {other + "2001:db8::9", "2001:db8::"},
        // Tunnels end at the loopback: it is not one client's.
        {Lighttpd("admin", "127.0.0.1"), ""},
        {Lighttpd("admin", "127.9.9.9"), ""},
        {Lighttpd("admin", "::1"), ""},
        {Lighttpd("admin", "::ffff:127.0.0.1"), ""},
        // Not failed logins.
        {Lighttpd("admin", "203.0.113.7 "), ""},
        {Lighttpd("admin", "1.2.3.4; flush"), ""},
        {"2026-11-22 04:27:45: (server.c.10) password doesn't match for x IP: 1.2.3.4", ""},
        {"2026-11-22 04:27:45: (mod_auth.c.9) unknown /password doesn't match for IP: 1.2.3.4", ""},
        {"2026-11-22 04:27:45: (x) (mod_auth.c.9) password doesn't match for x IP: 1.2.3.4", ""},
        {"2026-11-22T04:27:45+00:00 GET /x failed login IP: 1.2.3.4", ""},
        {" IP: 1.2.3.4", ""},
        {"", ""},
    };
    for (const auto& [line, want] : rows) EXPECT_EQ(Text(guard::FailedLogin(line)), want) << line;
}

/// How many failures in a row it takes until they are too many.
int Tries(Failures& failures, const std::string& address, Clock::time_point now)
{
    int tries = 1;
    while (!failures.Add({false, address}, now)) ++tries;
    return tries;
}

TEST(TooManyFailures, AreThoseOfOneSourceWithinTheTime)
{
    Failures failures;
    const Clock::time_point start = Clock::now();
    for (int i = 1; i < Failures::kMost; ++i) {
        EXPECT_FALSE(failures.Add({false, "192.0.2.1"}, start));
        EXPECT_FALSE(failures.Add({false, "192.0.2.2"}, start));
    }
    EXPECT_TRUE(failures.Add({false, "192.0.2.1"}, start + Failures::kWithin / 2));
    EXPECT_EQ(Failures::kMost, Tries(failures, "192.0.2.1", start)) << "once away, it begins anew";
    EXPECT_EQ(Failures::kMost, Tries(failures, "192.0.2.2", start + Failures::kWithin));
}

TEST(TooManyFailures, OfTooManySourcesTakeNoMoreRoom)
{
    Failures failures;
    Clock::time_point now = Clock::now();
    const auto source = [](std::size_t number) { return Source{false, std::to_string(number)}; };
    for (std::size_t i = 0; i < 2 * Failures::kMostSources; ++i) {
        (void)failures.Add(source(i), now += std::chrono::milliseconds(1));
        ASSERT_LE(failures.Size(), Failures::kMostSources);
    }
    EXPECT_EQ(failures.Size(), Failures::kMostSources) << "only the oldest goes";
    (void)failures.Add(source(0), now + Failures::kWithin);
    EXPECT_EQ(failures.Size(), 1U) << "those whose time is over go with it";
}

}  // namespace
