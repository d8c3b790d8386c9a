// Time stamps in the logs of mail server and scanner.
#include "host/libmailvane/maillog/log_clock.h"

#include <ctime>

#include "host/libhaldcore/text.h"

namespace host::maillog {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::size_t kHourEnd = 9;  // "Nov 21 04"
constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

/// The number in a part of the stamp, which may begin with a blank; -1 when there is none.
int Number(std::string_view text, std::size_t start, std::size_t length)
{
    int value = -1;
    for (const char letter : text.substr(start, length)) {
        if (letter == ' ' && value < 0) continue;
        if (!IsDigit(letter)) return -1;
        value = (value < 0 ? 0 : value) * 10 + (letter - '0');
    }
    return value;
}

bool HasTime(std::string_view stamp, std::size_t hour)
{
    return stamp.size() >= hour + 8 && stamp[hour + 2] == ':' && stamp[hour + 5] == ':' &&
           Number(stamp, hour, 2) >= 0 && Number(stamp, hour + 3, 2) >= 0 &&
           Number(stamp, hour + 6, 2) >= 0;
}

/// Parses the time zone after the seconds and their fraction; `offset` is in seconds east of UTC.
bool ZoneOffset(std::string_view rest, std::int64_t& offset)
{
    const std::size_t zone = rest.find_first_of("Z+-");
    if (zone == std::string_view::npos) return false;
    offset = 0;
    if (rest[zone] == 'Z') return true;

    const int hours = Number(rest, zone + 1, 2);
    const std::size_t colon = rest.size() > zone + 3 && rest[zone + 3] == ':' ? 1 : 0;
    const std::size_t end = zone + 5 + colon;
    const int minutes = rest.size() >= end ? Number(rest, end - 2, 2) : -1;
    if (hours < 0 || minutes < 0) return false;
    offset = std::int64_t{hours} * 3600 + std::int64_t{minutes} * 60;
    if (rest[zone] == '-') offset = -offset;
    return true;
}

std::int64_t Rfc3339(std::string_view stamp)
{
    constexpr std::size_t kTime = 11;
    std::int64_t offset = 0;
    if (!HasTime(stamp, kTime) || !ZoneOffset(stamp.substr(kTime + 8), offset)) return -1;

    std::tm parts{};
    parts.tm_year = Number(stamp, 0, 4) - 1900;
    parts.tm_mon = Number(stamp, 5, 2) - 1;
    parts.tm_mday = Number(stamp, 8, 2);
    parts.tm_hour = Number(stamp, kTime, 2);
    parts.tm_min = Number(stamp, kTime + 3, 2);
    parts.tm_sec = Number(stamp, kTime + 6, 2);
    return parts.tm_mon < 0 || parts.tm_mday < 0 ? -1 : timegm(&parts) - offset;
}

/// The seconds after which a local time occurs again, as when summer time ends; 0 when it does not.
std::int64_t ComesAgain(const std::tm& local)
{
    std::tm summer = local;
    std::tm winter = local;
    summer.tm_isdst = 1;
    winter.tm_isdst = 0;
    const std::time_t first = std::mktime(&summer);
    const std::time_t second = std::mktime(&winter);
    return summer.tm_isdst == 1 && winter.tm_isdst == 0 ? second - first : 0;
}

}  // namespace

std::int64_t LogClock::ClassicHour(std::string_view stamp)
{
    const std::size_t month = kMonths.find(stamp.substr(0, 3));
    const int day = Number(stamp, 4, 2);
    if (month == std::string_view::npos || month % 3 != 0 || day < 1) return -1;

    const auto now = static_cast<std::time_t>(now_);
    std::tm today{};
    (void)localtime_r(&now, &today);
    std::int64_t seconds = -1;
    for (int back = -1; back < 2; ++back) {
        std::tm parts{};
        parts.tm_year = today.tm_year - back;
        parts.tm_mon = static_cast<int>(month / 3);
        parts.tm_mday = day;
        parts.tm_hour = Number(stamp, 7, 2);
        parts.tm_isdst = -1;
        again_ = ComesAgain(parts);
        if (again_ > 0) parts.tm_isdst = 1;
        seconds = std::mktime(&parts);
        if (seconds <= now_ + kDay) break;
    }
    return seconds;
}

std::int64_t LogClock::Seconds(std::string_view stamp)
{
    if (stamp.empty()) return -1;
    if (IsDigit(stamp.front())) return Rfc3339(stamp);
    if (!HasTime(stamp, 7)) return -1;

    const std::string_view hour = stamp.substr(0, kHourEnd);
    if (hour != lastHour_) {
        lastSeconds_ = ClassicHour(stamp);
        lastHour_ = hour;
    }
    if (lastSeconds_ < 0) return -1;
    constexpr std::int64_t kSecondsOfMinute = 60;
    const std::int64_t seconds =
        lastSeconds_ + Number(stamp, 10, 2) * kSecondsOfMinute + Number(stamp, 13, 2);
    return seconds + again_ <= now_ ? seconds + again_ : seconds;
}

}  // namespace host::maillog
