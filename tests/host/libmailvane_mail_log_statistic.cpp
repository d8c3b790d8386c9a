// The mail log: totals of the overview.
#include "host/libmailvane/mail_log_statistic.h"

#include <ctime>

#include "tests/host/libmailvane_mail_log_machine.h"

namespace {

class Totals : public LogMachine {
protected:
    void TearDown() override
    {
        Zone("UTC");
        LogMachine::TearDown();
    }

    static void Zone(const char* name)
    {
        (void)::setenv("TZ", name, 1);
        ::tzset();
    }

    /// Received, sent, bounced of each period, "0/0/0" left out; the last period's after a blank.
    static std::string Text(const Statistic& statistic)
    {
        std::string text;
        for (std::size_t i = 0; i < statistic.inbound.size(); ++i) {
            text += std::to_string(statistic.inbound[i]) + "/" +
                    std::to_string(statistic.outbound[i]) + "/" +
                    std::to_string(statistic.bounce[i]) + " ";
        }
        return text;
    }
};

}  // namespace

TEST(PeriodBounds, AreOfTheMachinesTimeZone)
{
    const struct {
        const char* zone;
        int scale;
        const char *end, *first, *last;  ///< starts of the first period and of the one after
        std::size_t seconds;             ///< length of the last period
    } rows[] = {
        {"UTC", 24, "2026-11-21 13:30:17", "2026-11-20 14:00:00", "2026-11-21 14:00:00", 3600},
        {"UTC", 1, "2026-11-21 13:00:00", "2026-11-21 13:00:00", "2026-11-21 14:00:00", 3600},
        {"Asia/Kolkata", 2, "2026-11-21 13:30:17", "2026-11-21 12:00:00", "2026-11-21 14:00:00",
         3600},
        // Days that are longer and shorter than others.
        {"Europe/Berlin", 7, "2026-10-25 01:00:00", "2026-10-19 00:00:00", "2026-10-26 00:00:00",
         90000},
        {"Europe/Berlin", 30, "2026-03-29 23:59:59", "2026-02-28 00:00:00", "2026-03-30 00:00:00",
         82800},
        {"UTC", 60, "2026-03-01 00:00:00", "2026-01-01 00:00:00", "2026-03-02 00:00:00", 86400},
        // Weeks begin on Monday.
        {"UTC", 52, "2026-11-22 23:00:00", "2025-11-24 00:00:00", "2026-11-23 00:00:00", 604800},
        {"UTC", 12, "2026-02-28 12:00:00", "2025-03-01 00:00:00", "2026-03-01 00:00:00", 2419200},
    };
    const auto text = [](std::int64_t time) {
        const auto seconds = static_cast<std::time_t>(time);
        std::tm local{};
        char buffer[32];
        (void)localtime_r(&seconds, &local);
        return std::string(buffer, std::strftime(buffer, sizeof buffer, "%F %T", &local));
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.zone) + " " + std::to_string(row.scale));
        (void)::setenv("TZ", row.zone, 1);
        ::tzset();
        std::tm end{};
        (void)::strptime(row.end, "%Y-%m-%d %H:%M:%S", &end);
        end.tm_isdst = -1;
        const auto bounds = host::PeriodBounds(std::mktime(&end), row.scale);
        ASSERT_EQ(bounds.size(), static_cast<std::size_t>(row.scale) + 1);
        EXPECT_EQ(text(bounds.front()), row.first);
        EXPECT_EQ(text(bounds.back()), row.last);
        EXPECT_EQ(static_cast<std::size_t>(bounds.back() - bounds[bounds.size() - 2]), row.seconds);
    }
    (void)::setenv("TZ", "UTC", 1);
    ::tzset();
}

TEST_F(Totals, FollowEveryChangeOfTheEntries)
{
    Zone("UTC");
    const std::int64_t hour = 1795269600;  // 2026-11-21 14:00
    const auto at = [hour](int minutes) { return std::to_string(hour + 60 * minutes); };
    Store("VALUES ('a', '', '', " + at(-61) + ", 10, 1, '', ''), ('b', '', '', " + at(-60) +
          ", 20, 0, '', ''), ('c', '', '', " + at(-1) + ", 30, 2, '', ''), ('d', '', '', " + at(0) +
          ", 40, 1, '', ''), ('e', '', '', " + at(59) +
          ", 3000000000, 1, '', ''), "
          "('f', '', '', " +
          at(60) + ", 60, 1, '', ''), ('g', '', '', " + at(5) + ", 70, 3, '', '')");

    const auto counts = [&] {
        Statistic statistic;
        MailLog log = Log();
        EXPECT_EQ(log.getQuantityStatistic(statistic, static_cast<long>(hour + 60),
                                           static_cast<TimeScale>(3)),
                  0);
        return Text(statistic);
    };
    EXPECT_EQ(counts(), "1/0/0 0/1/1 2/0/0 ");
    Statistic bytes;
    (void)Log().getBandwidthStatistic(bytes, static_cast<long>(hour + 60),
                                      static_cast<TimeScale>(2));
    EXPECT_EQ(Text(bytes), "0/20/0 3000000040/0/0 ");

    Open().exec(
        "UPDATE entry SET status = 0 WHERE queue_id = 'g'; DELETE FROM entry WHERE queue_id "
        "= 'd'; UPDATE entry SET size = 5, date = " +
        at(-90) + " WHERE queue_id = 'b'");
    EXPECT_EQ(counts(), "1/1/0 0/0/1 1/1/0 ");

    EXPECT_EQ(Log().clear(), 0);
    EXPECT_EQ(counts(), "0/0/0 0/0/0 0/0/0 ");
}

TEST_F(Totals, OfOddPeriodsNeverFailTheMachine)
{
    MailLog log = Log();
    const long ends[] = {0, -1, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()};
    for (const long end : ends) {
        for (const int scale : {1, 7, 12, 24, 52, 365}) {
            Statistic statistic;
            EXPECT_EQ(log.getQuantityStatistic(statistic, end, static_cast<TimeScale>(scale)), 0);
            EXPECT_EQ(statistic.bounce.size(), static_cast<std::size_t>(scale));
        }
    }
    Statistic statistic;
    EXPECT_EQ(log.getBandwidthStatistic(statistic, 17, static_cast<TimeScale>(-4)), 0);
    EXPECT_EQ(log.getBandwidthStatistic(statistic, 17, static_cast<TimeScale>(2000000000)), -1);
    EXPECT_TRUE(statistic.inbound.empty());
}
