// Mail traffic by periods: overview_load.
#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "maillog/log_filter.h"
#include "platform/hlib/key_value.h"

namespace {

constexpr double kKilobytesPerByte = 0.0009765625;

using Totals = std::vector<std::uint64_t>;

/// The total of the period with this index; 0 when the list is shorter.
std::uint64_t At(const Totals& totals, int index)
{
    const auto position = static_cast<std::size_t>(index);
    return position < totals.size() ? totals[position] : 0;
}

Json::Value Count(const Totals& totals, int index)
{
    // Deliberate: the low 32 bits with their sign; the client's charts take no larger number.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(At(totals, index)));
}

Json::Value Kilobytes(const Totals& totals, int index)
{
    std::array<char, 512> text{};
    const double kilobytes = static_cast<double>(At(totals, index)) * kKilobytesPerByte;
    std::snprintf(text.data(), text.size(), "%.1Lf", static_cast<long double>(kilobytes));
    return text.data();
}

int ReadScale(WebMan& web)
{
    return static_cast<int>(NumberParameter(web, "scale", "24"));
}

bool IsOpen(MailLog& log)
{
    if (log.error() == 0) return true;

    LogError(Here(), "mail log init fail");
    return false;
}

bool AddCounts(WebMan& web, Json::Value& periods)
{
    MailLog log(kMailLogPath);
    const int scale = ReadScale(web);
    if (!IsOpen(log)) return false;

    Statistic statistic;
    const auto now = static_cast<long>(std::time(nullptr));
    if (log.getQuantityStatistic(statistic, now, static_cast<TimeScale>(scale)) < 0) {
        LogError(Here(), "getQuantityStatistic fail");
        return false;
    }
    for (int i = 0; i < scale; ++i) {
        Json::Value period;
        period["inbound"] = Count(statistic.inbound, i);
        period["outbound"] = Count(statistic.outbound, i);
        period["bounce"] = Count(statistic.bounce, i);
        periods.append(period);
    }
    return true;
}

bool AddVolumes(WebMan& web, Json::Value& periods)
{
    MailLog log(kMailLogPath);
    long end = NumberParameter(web, "time", "0");
    if (end == 0) end = static_cast<long>(std::time(nullptr));
    const int scale = ReadScale(web);
    if (!IsOpen(log)) return false;

    Statistic statistic;
    if (log.getBandwidthStatistic(statistic, end, static_cast<TimeScale>(scale)) < 0) {
        LogError(Here(), "getQuantityStatistic fail");  // Deliberate: one line to look for.
        return false;
    }
    for (int i = 0; i < scale; ++i) {
        Json::Value period;
        period["inbound"] = Kilobytes(statistic.inbound, i);
        period["outbound"] = Kilobytes(statistic.outbound, i);
        periods.append(period);
    }
    return true;
}

Outcome LoadStatistic(WebMan& web, Json::Value& response)
{
    const bool counts = NumberParameter(web, "type", "0") == 0;
    if (HLIBCFileCheckKeyValue("/etc/haldinfo.conf", "userHomeEnable", "yes", 0) == 0) {
        return Outcome::Fail("warning", "err_enable_homes");
    }

    Json::Value periods(Json::arrayValue);
    if (counts && !AddCounts(web, periods)) {
        LogError(Here(), "QuantityStatisticGet fail");
        return Outcome::SystemError();
    }
    if (!counts && !AddVolumes(web, periods)) {
        LogError(Here(), "BandwidthStatisticGet fail");
        return Outcome::SystemError();
    }
    response["statistic"] = periods;
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadOverview()
{
    Json::Value response;
    Answer(response, LoadStatistic(web_, response));
}
