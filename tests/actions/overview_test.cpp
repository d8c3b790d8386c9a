// Mail traffic by periods.
#include "tests/recording/action_test.h"

using namespace recording;

namespace {

using Overview = ActionTest;

}  // namespace

TEST_F(Overview, OverviewShowsCountsOrKilobytesOfEachPeriod)
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

    // The time counts for volumes only; 24 periods unless asked otherwise.
    world.statistic.inbound = {1536};
    const std::string output =
        Read("overview_load", {{"type", "1"}, {"time", "1700000000"}}).output;
    EXPECT_NE(output.find(R"("inbound":"1.5")"), std::string::npos) << output;
    EXPECT_NE(world.Calls().find("MailLog::getBandwidthStatistic 1700000000 24\n"),
              std::string::npos);
    NextCase();
    (void)Read("overview_load", {{"time", "17"}});
    EXPECT_EQ(world.Calls().find("MailLog::getQuantityStatistic 17 "), std::string::npos);
    NextCase();

    for (const char* type : {"0", "1"}) {
        world.keyValueFiles.clear();
        EXPECT_EQ(Read("overview_load", {{"type", type}}).output,
                  Refusal("warning", "err_enable_homes"));
    }
}

TEST_F(Overview, AnswersFailuresOfTheLog)
{
    ExpectFailures(R"(
overview_load | ... > MailLog::error | system | mail log init fail; QuantityStatisticGet fail
overview_load | ... > MailLog::getQuantityStatistic | system
  | getQuantityStatistic fail; QuantityStatisticGet fail
overview_load type=1 | ... > MailLog::error | system
  | mail log init fail; BandwidthStatisticGet fail
overview_load type=1 | ... > MailLog::getBandwidthStatistic | system
  | getQuantityStatistic fail; BandwidthStatisticGet fail
)");
}
