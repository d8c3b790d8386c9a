// Gathers the data of the report. Reads target/etc/maillog/*.db and the scanner's log, runs
// postqueue and the self-check, and queries the file systems.
#include "tools/report/report_data.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/log_clock.h"
#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/mail_queue.h"
#include "host/libmailvane/system/owner_rights.h"
#include "platform/mailvane/mail_log.h"

namespace report {

namespace {

constexpr std::size_t kRanks = 10;
const char kNoName[] = "localhost";
const char kScanLog[] = "/var/log/mailvane/amavis.log";

using Tally = std::map<std::string, Volume>;

void Add(Volume& sum, const Volume& more)
{
    sum.messages += more.messages;
    sum.bytes += more.bytes;
}

/// The databases that may hold entries of a period, which is a month at most.
std::vector<std::string> LogFiles(const Period& period)
{
    std::vector<std::string> paths = host::maillog::MonthPaths(period.begin);
    paths.push_back(host::maillog::MailLogFolder() + "/maillog.db");
    return paths;
}

void AddOutcomes(SQLite::Database& database, const Period& period, MailCounts& counts)
{
    SQLite::Statement query(database,
                            "SELECT coalesce(counts_as, status), status, count(*), sum(size) "
                            "FROM entry WHERE date >= ? AND date < ? GROUP BY 1, 2");
    query.bind(1, period.begin);
    query.bind(2, period.end);
    while (query.executeStep()) {
        const int outcome = query.getColumn(0).getInt();
        const Volume volume{query.getColumn(2).getInt64(), query.getColumn(3).getInt64()};
        const bool isKnown =
            outcome == MAIL_SEND || outcome == MAIL_RECEIVE || outcome == MAIL_BOUNCE;
        Add(isKnown ? counts.byOutcome[static_cast<std::size_t>(outcome)] : counts.waiting, volume);
        if (isKnown && query.getColumn(1).getInt() == MAIL_RESEND) Add(counts.resent, volume);
    }
}

/// Adds the rows of a query: address, messages, bytes.
void AddRanks(SQLite::Database& database, const Period& period, const char* select, Tally& tally)
{
    SQLite::Statement query(database, select);
    query.bind(1, period.begin);
    query.bind(2, period.end);
    while (query.executeStep()) {
        Add(tally[query.getColumn(0).getString()],
            {query.getColumn(1).getInt64(), query.getColumn(2).getInt64()});
    }
}

struct Tallies {
    MailCounts counts;
    Tally senders;
    Tally recipients;
};

/// Takes one of the mail log's databases; false when there is none.
host::Result<bool> AddLog(const std::string& path, const Period& period, Tallies& tallies)
{
    auto database = host::system::OpenAsItIs(path);
    if (!database) return std::move(database).reason();
    if (!*database) return false;

    AddOutcomes(**database, period, tallies.counts);
    AddRanks(**database, period,
             "SELECT mail_from, count(*), sum(size) FROM entry "
             "WHERE date >= ? AND date < ? GROUP BY mail_from",
             tallies.senders);
    AddRanks(**database, period,
             "SELECT mail_to, count(*), sum(size) FROM entry "
             "WHERE date >= ? AND date < ? AND mail_to <> '' GROUP BY mail_to",
             tallies.recipients);
    return true;
}

std::vector<Rank> Highest(const Tally& tally)
{
    std::vector<Rank> ranks;
    ranks.reserve(tally.size());
    for (const auto& entry : tally) ranks.push_back({entry.first, entry.second});
    const std::size_t shown = std::min(kRanks, ranks.size());
    std::partial_sort(
        ranks.begin(), ranks.begin() + static_cast<std::ptrdiff_t>(shown), ranks.end(),
        [](const Rank& a, const Rank& b) { return a.volume.messages > b.volume.messages; });
    ranks.resize(shown);
    return ranks;
}

bool Has(const std::string& line, const char* text)
{
    return line.find(text) != std::string::npos;
}

/// Counts the lines of one of the scanner's logs; false when there is no such file.
bool AddScans(const std::string& path, const Period& period, std::int64_t now, ScanCounts& counts)
{
    std::ifstream log(path);
    if (!log) return false;

    // Lines begin as "Nov  1 04:17:52 ".
    host::maillog::LogClock clock(now);
    for (std::string line; std::getline(log, line);) {
        const bool virus = Has(line, ") Blocked INFECTED") || Has(line, ") Passed INFECTED");
        const bool spam = Has(line, ") Blocked SPAM") || Has(line, ") Passed SPAM");
        if (!virus && !spam) continue;

        const std::int64_t time = clock.Seconds(line);
        if (time < period.begin || time >= period.end) continue;
        counts.viruses += virus ? 1 : 0;
        counts.spam += spam ? 1 : 0;
    }
    return true;
}

std::optional<QueueState> LookAtQueue(std::int64_t now)
{
    const auto queue = host::system::ReadMailQueue();
    if (!host::Succeeded(queue)) return std::nullopt;

    QueueState state;
    state.isWhole = queue->isWhole;
    for (const host::system::QueuedMessage& message : queue->messages) {
        ++state.waiting;
        if (message.deferred) ++state.deferred;
        state.oldest = std::max(state.oldest, now - message.arrival);
    }
    return state;
}

std::vector<Disk> LookAtDisks()
{
    const std::pair<const char*, const char*> places[] = {{"mail queue", "/var/spool/postfix"},
                                                          {"mailboxes", "/home"},
                                                          {"logs", "/var/log/mailvane"},
                                                          {"settings", "/var/packages/Mailvane"}};
    std::vector<Disk> disks;
    for (const auto& [name, path] : places) {
        struct statvfs status;
        if (statvfs(host::Path(path).c_str(), &status) < 0) continue;
        disks.push_back({name, std::uint64_t{status.f_bavail} * status.f_frsize,
                         std::uint64_t{status.f_blocks} * status.f_frsize});
    }
    return disks;
}

}  // namespace

std::string ServerName()
{
    const auto settings = host::settings::StoredSettings::Read();
    if (!host::Succeeded(settings)) return kNoName;

    const std::string& host = settings->Text("smtp_hostname");
    const std::string& name = host.empty() ? settings->MailDomain() : host;
    return host::names::IsHostName(name) ? name : kNoName;
}

std::vector<host::selfcheck::CheckResult> RunSelfCheck()
{
    const auto settings = host::settings::StoredSettings::Read();
    if (!host::Succeeded(settings)) return {};
    return host::selfcheck::CheckServer(*settings);
}

std::optional<MailCounts> CountMail(const Period& period)
{
    Tallies tallies;
    bool found = false;
    for (const std::string& path : LogFiles(period)) {
        // What a damaged file holds is missing from the report; the rest is not.
        const host::Result<bool> added =
            host::system::Attempt(path, [&] {
                const host::system::OwnerRights rights(host::maillog::MailLogFolder());
                return AddLog(path, period, tallies);
            }).Prefixed("report: ");
        if (host::Succeeded(added) && *added) found = true;
    }
    if (!found) return std::nullopt;

    tallies.counts.senders = Highest(tallies.senders);
    tallies.counts.recipients = Highest(tallies.recipients);
    return std::move(tallies.counts);
}

std::optional<ScanCounts> CountScans(const Period& period, std::int64_t now)
{
    ScanCounts counts;
    const std::string path = host::Path(kScanLog);
    const bool older = AddScans(path + ".1", period, now, counts);
    const bool current = AddScans(path, period, now, counts);
    if (!older && !current) return std::nullopt;

    return counts;
}

Data Gather(const Period& period)
{
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    Data data;
    data.period = period;
    data.host = ServerName();
    data.mail = CountMail(period);
    data.scans = CountScans(period, now);
    data.queue = LookAtQueue(now);
    data.disks = LookAtDisks();
    data.checks = RunSelfCheck();
    return data;
}

}  // namespace report
