// Mail traffic by periods.
#include <ctime>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

class Overview : public ActionTest {
protected:
    /// The end of the last period asked for, and the number of periods.
    std::pair<long, int> Asked() const
    {
        const std::string calls = world.Calls();
        long end = 0;
        int periods = 0;
        const auto last = calls.rfind("Statistic ") + sizeof "Statistic";
        EXPECT_EQ(std::sscanf(calls.c_str() + last, "%ld %d\n", &end, &periods), 2) << calls;
        return {end, periods};
    }
};

}  // namespace

TEST_F(Overview, ShowsCountsOrKilobytesOfEachPeriod)
{
    const struct {
        const char *type, *scale, *periods;
    } rows[] = {
        {"0", "2", R"([{"inbound": 1, "outbound": 0, "bounce": 1536},
                       {"inbound": -2147483648, "outbound": -1, "bounce": 7}])"},
        {"1", "2", R"([{"inbound": "0.0", "outbound": "0.0"},
                       {"inbound": "2097152.0", "outbound": "18014398509481984.0"}])"},
        {"9", "1", R"([{"inbound": "0.0", "outbound": "0.0"}])"},
        {"0", "0", "[]"},
        {"1", "-3", "[]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.type) + " " + row.scale);
        world.statistic = {{1, 0x80000000U}, {0, ~std::uint64_t{0}}, {1536, 7}};
        EXPECT_EQ(Read("overview_load", {{"type", row.type}, {"scale", row.scale}}).output,
                  Answer(R"({"success": true, "statistic": )" + std::string(row.periods) + "}"));
        NextCase();
    }
}

TEST_F(Overview, ShowsTwentyFourPeriodsUpToNow)
{
    const std::map<std::string, std::string> rows[] = {
        {{"type", "0"}},
        {{"type", "0"}, {"time", "17"}},  // counts for volumes only
        {{"type", "1"}},
        {{"type", "1"}, {"time", "0"}},
    };
    for (const auto& parameters : rows) {
        const long start = std::time(nullptr);
        (void)Read("overview_load", parameters);
        const auto [end, periods] = Asked();
        EXPECT_TRUE(start <= end && end <= std::time(nullptr)) << world.Calls();
        EXPECT_EQ(periods, 24);
        NextCase();
    }
}

TEST_F(Overview, ShowsVolumesUpToTheTimeAskedFor)
{
    world.statistic.inbound = {1536};
    const std::string output =
        Read("overview_load", {{"type", "1"}, {"time", "1700000000"}}).output;
    EXPECT_NE(output.find(R"("inbound":"1.5")"), std::string::npos) << output;
    EXPECT_EQ(Asked(), std::make_pair(1700000000L, 24));
}

TEST_F(Overview, NeedsTheHomesOfTheUsers)
{
    for (const char* type : {"0", "1"}) {
        world.keyValueFiles.clear();
        EXPECT_EQ(Read("overview_load", {{"type", type}}).output,
                  Refusal("warning", "err_enable_homes"));
        EXPECT_FALSE(world.HasCalled("MailLog::MailLog"));
    }
}

TEST_F(Overview, TheFirstFailureEndsIt)
{
    const std::string counts = "QuantityStatisticGet fail";
    const std::string volumes = "BandwidthStatisticGet fail";
    const std::string none = "getQuantityStatistic fail";  // of both
    const std::string open = "mail log init fail";
    const std::string ofVolumes = R"({"type": "1"})";
    ExpectFailures({
        {"overview_load", "MailLog::error", {open, counts}},
        {"overview_load", "MailLog::getQuantityStatistic", {none, counts}},
        {"overview_load", "MailLog::error", {open, volumes}, SystemError(), ofVolumes},
        {"overview_load",
         "MailLog::getBandwidthStatistic",
         {none, volumes},
         SystemError(),
         ofVolumes},
    });
}
