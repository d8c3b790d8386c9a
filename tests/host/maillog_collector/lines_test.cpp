// Lines of the mail server's log: what is read from them, and what is not.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "host/libmailvane/maillog/log_clock.h"
#include "tools/maillog_collector/log_event.h"
#include "tools/maillog_collector/log_fields.h"

using collector::Event;
using collector::EventKind;

namespace {

/// The event of a line of the program `postfix/DAEMON`.
std::optional<Event> Parse(const std::string& text)
{
    static std::string line;  // the event refers to it
    line = "Nov 21 04:16:18 mail postfix/" + text;
    const auto parts = collector::ParseLine(line);
    return parts ? collector::ParseEvent(*parts) : std::nullopt;
}

}  // namespace

TEST(LogLine, OnlyPostfixIsHeard)
{
    for (const std::string program : {"postfix/qmgr:", "postfix/qmgr[12", "xpostfix/qmgr[1]:",
                                      "amavis[1]:", "postfix/qmgr[1x]:", "postfix/qmgr[]:"}) {
        const std::string line = "Nov 21 04:16:18 mail " + program + " 4jWf5t0xfWzm4Dn: removed";
        EXPECT_FALSE(collector::ParseLine(line)) << line;
    }
    const auto line = collector::ParseLine(
        "2026-11-21T04:23:39.5+00:00 mail postfix/submission/smtpd[12]: 4jWf5t0xfWzm4Dn: client=x");
    ASSERT_TRUE(line);
    EXPECT_EQ("smtpd", line->daemon);
}

TEST(LogClock, YearAndZone)
{
    ASSERT_EQ(0, setenv("TZ", "UTC", 1));
    tzset();
    constexpr std::int64_t kNow = 1798761600;  // 2027-01-01 00:00:00
    host::maillog::LogClock clock(kNow);
    EXPECT_EQ(kNow - 1, clock.Seconds("Dec 31 23:59:59"));
    EXPECT_EQ(kNow + 5, clock.Seconds("Jan  1 00:00:05"));
    EXPECT_EQ(1795234619, clock.Seconds("2026-11-21T06:46:59.123456+02:30"));
    EXPECT_EQ(1795234619, clock.Seconds("2026-11-21T06:46:59+0230"));
    EXPECT_EQ(1795234619, clock.Seconds("2026-11-21T01:46:59-02:30"));
    for (const char* stamp : {"", "Nux 21 04:16:18", "Nov 21 04-16-18", "2026-11-21T04:16:59"})
        EXPECT_EQ(-1, clock.Seconds(stamp)) << stamp;
}

TEST(LogClock, AnHourThatComesTwice)
{
    ASSERT_EQ(0, setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1));
    tzset();
    constexpr std::int64_t kAgain = 1792890000;  // 2026-10-25 02:00:00 for the second time
    host::maillog::LogClock clock(kAgain - 1);
    EXPECT_EQ(kAgain - 3601, clock.Seconds("Oct 25 01:59:59"));
    EXPECT_EQ(kAgain - 3600, clock.Seconds("Oct 25 02:00:00"));
    clock.SetNow(kAgain + 10);
    EXPECT_EQ(kAgain - 1, clock.Seconds("Oct 25 02:59:59"));
    EXPECT_EQ(kAgain + 5, clock.Seconds("Oct 25 02:00:05"));
    clock.SetNow(kAgain + 3600);
    EXPECT_EQ(kAgain + 3600, clock.Seconds("Oct 25 03:00:00"));
}

TEST(LogEvent, TextsOfStrangersNameNoQueueId)
{
    const std::string to = "[1]: 4jWf6M2n8mzm4JH: to=<x@far.test>, relay=";
    const std::string sent = ", delay=1, dsn=2.0.0, status=sent (250 2.0.0 Ok: queued as ";
    const std::string other = "4jWf7V0lnXzm4JM";
    const struct {
        std::string line;
        EventKind kind;
        std::string other;
    } rows[] = {
        {"smtp" + to + "mx.far.test[203.0.113.9]:25" + sent + other + ")", EventKind::kSent, ""},
        {"lmtp" + to + "127.0.0.1[127.0.0.1]:10024" + sent + other + ")", EventKind::kScanned,
         other},
        {"lmtp" + to + "127.0.0.1[127.0.0.1]:10024" + sent + "4jWf7T69kfzm4Dv, queued as " + other,
         EventKind::kScanned, other},
        {"smtpd[1]: " + other + ": client=x[203.0.113.9], orig_queue_id=4jWf7T69kfzm4Dv",
         EventKind::kAccepted, ""},
    };
    for (const auto& row : rows) {
        const auto event = Parse(row.line);
        ASSERT_TRUE(event) << row.line;
        EXPECT_EQ(row.kind, event->kind) << row.line;
        EXPECT_EQ(row.other, event->other) << row.line;
    }
}

TEST(LogEvent, AddressesEndWhereTheyEnd)
{
    auto event = Parse(
        "lmtp[1]: 4jWf6M2n8mzm4JH: to=<\"a>, relay=x, status=bounced (\\\" \"@mv.test>, "
        "orig_to=<\"b>\"@mv.test>, relay=r[private/l], delay=1, dsn=2.0.0, status=sent (ok)");
    ASSERT_TRUE(event);
    EXPECT_EQ(EventKind::kSent, event->kind);
    EXPECT_EQ("\"a>, relay=x, status=bounced (\\\" \"@mv.test", event->to);

    event = Parse(
        "cleanup[1]: 4jWf6r34W6zm4H4: reject: header Subject: ; from=<forged@x.test> "
        "to=<forged@y.test> from mx[203.0.113.10]; from=<x@a.test> to=<b@mv.test> proto=SMTP: no");
    ASSERT_TRUE(event);
    EXPECT_EQ(EventKind::kRefused, event->kind);
    EXPECT_EQ("", event->from) << "two envelopes: nobody can tell which is the real one";
    EXPECT_EQ("", event->to);
}

TEST(LogEvent, WhatSaysNothingAboutAMessage)
{
    for (const std::string text :
         {"smtpd[1]: connect from x[1.2.3.4]", "smtpd[1]: NOQUEUE: client=x[1.2.3.4]",
          "smtpd[1]: NOQUEUE: hold: RCPT from x[1.2.3.4]: y; from=<a@b.test> to=<c@d.test>",
          "qmgr[1]: 4jWf6M2n8mzm4JH: from=<a@b.test>, size=x, nrcpt=1 (queue active)",
          "qmgr[1]: 4jWf6M2n8mzm4JH: from=<a@b.test", "lmtp[1]: 4jWf6M2n8mzm4JH: to=<a@b.test>",
          "scache[1]: 4jWf6M2n8mzm4JH: to=<a@b.test>, relay=r, status=sent (ok)"})
        EXPECT_FALSE(Parse(text)) << text;
}

TEST(LogEvent, OnlyTheSelfChecksOwnProbeIsLeftOut)
{
    const std::string reason = ": 554 5.7.1 <somebody@self-check.invalid>: Relay access denied";
    const std::string to = " to=<somebody@self-check.invalid>";
    const std::string helo = " proto=ESMTP helo=<self-check.invalid>";
    const std::string envelope = "; from=<>" + to + helo;
    const auto isEntry = [](const std::string& rest) {
        return Parse("smtpd[1]: NOQUEUE: reject: RCPT from " + rest).has_value();
    };
    for (const std::string client : {"unknown[127.0.0.2]", "localhost[::1]"})
        EXPECT_FALSE(isEntry(client + reason + envelope)) << client;

    const std::string client = "unknown[127.0.0.2]";
    for (const std::string& rest :
         {"x[203.0.113.9]" + reason + envelope, "unknown[127.0.0.1]" + reason + envelope,
          client + reason + "; from=<a@b.test>" + to + helo,
          client + reason + "; from=<> to=<bob@mv.test>" + helo,
          client + reason + "; from=<>" + to + " proto=ESMTP helo=<x>",
          client + reason + "; from=<a@b.test> to=<c@d.test> proto=ESMTP helo=<x" + envelope})
        EXPECT_TRUE(isEntry(rest)) << rest;
    EXPECT_TRUE(
        Parse("cleanup[1]: 4jWf6r34W6zm4H4: reject: RCPT from " + client + reason + envelope));
}

TEST(CleanText, HoldsNothingThatAPageWouldTakeForItsOwn)
{
    const std::string good = "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80";
    EXPECT_EQ(good, collector::CleanText(good));
    EXPECT_EQ("?script?a???b", collector::CleanText("<script>a\x01\x7f\tb"));
    EXPECT_EQ(std::string(4, '?'), collector::CleanText("\xff\xc3\xe2\x82"));
    EXPECT_EQ(std::string(7, '?'), collector::CleanText("\xc0\xaf\xed\xa0\x80\xc2\x85"));
    const std::string cut(collector::kLongestText - 1, 'x');
    EXPECT_EQ(cut, collector::CleanText(cut + "\xc3\xa4"));
}

TEST(CleanId, BeginsNoFormulaOfASpreadsheet)
{
    for (const std::string first : {"=", "+", "-", "@", "  ="}) {
        const std::string blanks(first.size() - 1, ' ');
        EXPECT_EQ(blanks + "?HYPERLINK(1)-=2@x.test",
                  collector::CleanId(first + "HYPERLINK(1)-=2@x.test"));
    }
    EXPECT_EQ("2026=1+a@x.test", collector::CleanId("2026=1+a@x.test"));
    EXPECT_EQ("", collector::CleanId(""));
}
