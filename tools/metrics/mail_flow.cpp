// Metrics of mail under way: the mail server's queues, by the names of their files, and the
// scanner, by the end of its log.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/log_clock.h"
#include "tools/metrics/sources.h"
#include "upkeep/queue/queue_names.h"
#include "upkeep/queue/spool.h"

namespace metrics {

namespace {

constexpr Family kQueued = {"mailvane_queue_messages", "",
                            "Messages in the mail server's queues, by queue and by age."};
constexpr Family kOldest = {"mailvane_queue_oldest_seconds", "seconds",
                            "Age of the oldest message in the queues, as far as its name tells;"
                            " 0 without one."};
constexpr Family kScanned = {"mailvane_scanner_messages", "",
                             "Messages that the scanner has gone through in the last five"
                             " minutes."};
constexpr Family kMean = {"mailvane_scanner_mean_seconds", "seconds",
                          "How long it took for each of them."};
constexpr Family kLongest = {"mailvane_scanner_longest_seconds", "seconds",
                             "How long it took for the slowest of them."};

/// Ages that messages are younger than.
struct Age {
    const char* name;
    std::int64_t limit;
};
constexpr Age kAges[] = {
    {"under_5m", 300}, {"under_1h", 3600}, {"under_4h", 14400}, {"under_1d", 86400}};
constexpr char kOlder[] = "older";

constexpr upkeep::Queue kQueues[] = {upkeep::Queue::kMaildrop, upkeep::Queue::kIncoming,
                                     upkeep::Queue::kActive, upkeep::Queue::kDeferred,
                                     upkeep::Queue::kHold};

constexpr char kScanLog[] = "/var/log/mailvane/amavis.log";
constexpr off_t kScanTail = off_t{256} << 10;  // bytes: several hundred messages
constexpr std::int64_t kScanWindow = 300;      // seconds

/// The class of an age. A message without one came before names told it.
const char* ClassOf(std::optional<std::int64_t> age)
{
    if (!age) return kOlder;
    const auto* const found = std::find_if(std::begin(kAges), std::end(kAges),
                                           [age](const Age& one) { return *age < one.limit; });
    return found == std::end(kAges) ? kOlder : found->name;
}

using Counts = std::map<std::pair<upkeep::Queue, std::string_view>, double>;

/// A sample for each class, those without a message too.
std::vector<Sample> SamplesOf(const Counts& counts)
{
    std::vector<const char*> classes;
    for (const Age& age : kAges) classes.push_back(age.name);
    classes.push_back(kOlder);

    std::vector<Sample> samples;
    for (const upkeep::Queue queue : kQueues) {
        for (const char* const age : classes) {
            const auto found = counts.find({queue, age});
            samples.push_back({{{"queue", upkeep::NameOf(queue)}, {"age", age}},
                               found == counts.end() ? 0 : found->second});
        }
    }
    return samples;
}

/// The last whole lines of the scanner's log; nothing when it cannot be read.
std::optional<std::string> EndOfScanLog()
{
    const std::string path = host::Path(kScanLog);
    const host::Descriptor log(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!log || fstat(log.get(), &status) < 0) return std::nullopt;

    const off_t begin = std::max<off_t>(status.st_size - kScanTail, 0);
    std::string text(static_cast<std::size_t>(status.st_size - begin), '\0');
    const ssize_t count = pread(log.get(), text.data(), text.size(), begin);
    if (count < 0) return std::nullopt;
    text.resize(static_cast<std::size_t>(count));
    if (begin > 0) text.erase(0, text.find('\n') + 1);
    return text;
}

/// The milliseconds at the end of a line about a message: "…) Passed CLEAN …, 149 ms".
std::optional<int> TimeIn(std::string_view line)
{
    constexpr std::string_view kUnit = " ms";
    const bool isMessage = line.find(") Passed ") != std::string_view::npos ||
                           line.find(") Blocked ") != std::string_view::npos;
    if (!isMessage || line.size() < kUnit.size()) return std::nullopt;
    if (line.substr(line.size() - kUnit.size()) != kUnit) return std::nullopt;
    line.remove_suffix(kUnit.size());
    line.remove_prefix(line.rfind(' ') + 1);
    int time = 0;
    const char* const end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data(), end, time);
    return error == std::errc() && rest == end && time >= 0 ? std::optional(time) : std::nullopt;
}

struct Scans {
    int messages = 0;
    double sum = 0;  ///< milliseconds
    int longest = 0;
};

Scans ScansIn(std::string_view text, std::int64_t now)
{
    host::maillog::LogClock clock(now);
    Scans scans;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::optional<int> time = TimeIn(line);
        if (!time || clock.Seconds(line) < now - kScanWindow) continue;
        ++scans.messages;
        scans.sum += *time;
        scans.longest = std::max(scans.longest, *time);
    }
    return scans;
}

}  // namespace

bool AddQueue(std::int64_t now, Exposition& exposition)
{
    const auto names = upkeep::ReadQueueNames(upkeep::MailSpool());
    if (!names) return false;
    Counts counts;
    std::int64_t oldest = 0;
    for (const upkeep::QueueName& message : *names) {
        auto age = upkeep::ArrivalOf(message.id);
        if (age) age = std::max<std::int64_t>(now - *age, 0);
        oldest = std::max(oldest, age.value_or(0));
        ++counts[{message.queue, ClassOf(age)}];
    }
    exposition.Add(kQueued, SamplesOf(counts));
    exposition.Add(kOldest, static_cast<double>(oldest));
    return true;
}

bool AddScanner(std::int64_t now, Exposition& exposition)
{
    constexpr double kSecond = 1000;  // milliseconds
    const std::optional<std::string> text = EndOfScanLog();
    if (!text) return false;
    const Scans scans = ScansIn(*text, now);
    exposition.Add(kScanned, scans.messages);
    if (scans.messages == 0) return true;
    exposition.Add(kMean, scans.sum / scans.messages / kSecond);
    exposition.Add(kLongest, scans.longest / kSecond);
    return true;
}

}  // namespace metrics
