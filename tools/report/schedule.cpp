// The times of the report. Reads and writes etc/report.state.
#include "tools/report/schedule.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"

namespace report {

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kFirstPause = 300;
constexpr std::int64_t kLongestPause = 3600;

std::string StatePath()
{
    return host::PackagePath("etc/report.state");
}

std::int64_t Number(const host::KeyValueFile& file, const char* key)
{
    return strtoll(file.Get(key).value_or("").c_str(), nullptr, 10);
}

}  // namespace

std::optional<Progress> ReadProgress()
{
    const auto file = host::KeyValueFile::Read(StatePath());
    if (!file) return std::nullopt;

    return Progress{Number(*file, "done_until"), Number(*file, "next_attempt"),
                    static_cast<int>(Number(*file, "attempts"))};
}

host::Result<void> WriteProgress(const Progress& progress)
{
    auto file = host::KeyValueFile::Parse("");
    if (file.Set("done_until", std::to_string(progress.doneUntil)) &&
        file.Set("next_attempt", std::to_string(progress.nextAttempt)) &&
        file.Set("attempts", std::to_string(progress.attempts)) && file.Write(StatePath(), 0600)) {
        return {};
    }
    return host::SystemReason(StatePath(), "cannot store how far it is");
}

std::int64_t LatestMoment(const Reporter::Time& time, std::int64_t now)
{
    const auto seconds = static_cast<std::time_t>(now);
    std::tm parts{};
    (void)localtime_r(&seconds, &parts);
    parts.tm_hour = static_cast<int>(std::min(time.hours, 23U));
    parts.tm_min = static_cast<int>(std::min(time.mins, 59U));
    parts.tm_sec = 0;
    parts.tm_isdst = -1;

    std::tm today = parts;
    const std::int64_t moment = std::mktime(&today);
    if (moment <= now) return moment;
    --parts.tm_mday;
    return std::mktime(&parts);
}

std::optional<Period> DuePeriod(const Progress& stored, std::int64_t moment, std::int64_t now)
{
    // What was noted while the clock was ahead would keep reports away until then.
    const bool wasAhead = stored.doneUntil > now + kDay || stored.nextAttempt > now + kLongestPause;
    const Progress progress = wasAhead ? Progress{moment - kDay, 0, 0} : stored;
    if (moment <= progress.doneUntil || now < progress.nextAttempt) return std::nullopt;

    return Period{std::max(progress.doneUntil, moment - 7 * kDay), moment};
}

Progress AfterFailure(const Progress& progress, std::int64_t now)
{
    Progress after = progress;
    const int doublings = std::min(after.attempts, 4);
    ++after.attempts;
    after.nextAttempt = now + std::min(kFirstPause << doublings, kLongestPause);
    return after;
}

}  // namespace report
