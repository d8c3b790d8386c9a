// What became of a message, by its lines in the log, and which addresses are this machine's.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

#include "tools/report/own_address.h"
#include "upkeep/mail_test/outcome.h"

namespace {

using State = upkeep::Outcome::State;

constexpr char kBegin[] = "Nov 22 10:00:00 mail postfix/";
constexpr char kRemoved[] = "qmgr[7]: 4fXqQv0c0Cz9tCy: removed";

upkeep::Outcome OutcomeOf(const std::vector<std::string>& lines)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& line : lines) list.append(kBegin + line);
    return upkeep::OutcomeOf(list);
}

std::string Delivery(const std::string& rest)
{
    return "lmtp[8]: 4fXqQv0c0Cz9tCy: to=<bob@mv.test>, relay=x, " + rest;
}

TEST(OutcomeOf, AMessageIsToldByItsLines)
{
    const std::string sent = Delivery("dsn=2.0.0, status=sent (250 Ok)");
    const std::string putOff = Delivery("dsn=4.4.1, status=deferred (connect (x): refused)");
    const std::string bounced = Delivery("dsn=5.1.1, status=bounced (no such user)");
    const struct {
        std::vector<std::string> lines;
        State state;
        std::string reason;
    } cases[] = {
        {{}, State::kUnderWay, ""},
        {{sent}, State::kUnderWay, ""},
        {{sent, kRemoved}, State::kDelivered, ""},
        {{sent, putOff}, State::kWaits, "connect (x): refused"},
        {{putOff, bounced, sent, kRemoved}, State::kRefused, "no such user"},
        {{sent, bounced, kRemoved}, State::kRefused, "no such user"},
        // What others say is no line of its own.
        {{Delivery("dsn=2.0.0, status=sent (250 x status=bounced (y): removed)"), kRemoved},
         State::kDelivered,
         ""},
        {{"cleanup[9]: 4fXqQv0c0Cz9tCy: warning: header Subject: to=<x>, status=bounced (y)"},
         State::kUnderWay,
         ""},
        {{"", "x", "]: ", Delivery(""), Delivery("status="), Delivery("status=bounced )(")},
         State::kRefused,
         ""}};
    for (const auto& one : cases) {
        const upkeep::Outcome outcome = OutcomeOf(one.lines);
        SCOPED_TRACE(one.lines.empty() ? "" : one.lines.back());
        EXPECT_EQ(outcome.state, one.state);
        EXPECT_EQ(outcome.reason, one.reason);
    }
}

bool IsOwn(const char* text)
{
    sockaddr_in four{};
    sockaddr_in6 six{};
    four.sin_family = AF_INET;
    six.sin6_family = AF_INET6;
    four.sin_port = six.sin6_port = htons(25);
    if (inet_pton(AF_INET, text, &four.sin_addr) == 1) {
        return report::IsOwnAddress(reinterpret_cast<sockaddr*>(&four), sizeof(four));
    }
    EXPECT_EQ(inet_pton(AF_INET6, text, &six.sin6_addr), 1) << text;
    return report::IsOwnAddress(reinterpret_cast<sockaddr*>(&six), sizeof(six));
}

TEST(IsOwnAddress, OfEveryFormOfLoopbackAndTheWildcard)
{
    for (const char* own : {"127.0.0.1", "127.255.0.9", "0.0.0.0", "0.1.2.3", "::1",
                            "::", "::ffff:127.0.0.1", "::ffff:0.0.0.0"}) {
        EXPECT_TRUE(IsOwn(own)) << own;
    }
    for (const char* foreign : {"192.0.2.1", "2001:db8::1", "::ffff:192.0.2.1", "fe80::1"}) {
        EXPECT_FALSE(IsOwn(foreign)) << foreign;
    }
}

}  // namespace
