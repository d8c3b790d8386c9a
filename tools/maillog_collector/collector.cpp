// The collector: reads Postfix's log into the mail log's database.
#include "tools/maillog_collector/collector.h"

#include <ctime>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/system/database.h"
#include "tools/maillog_collector/log_event.h"
#include "tools/maillog_collector/month_closing.h"

namespace collector {
namespace {

constexpr int kMostLinesHeld = 50000;
constexpr int kRunsBetweenForgetting = 100;
constexpr std::chrono::seconds kBetweenClosings{60};  // while a reader has the month open

constexpr std::int64_t kClocksApart = 86400;  // seconds, of two machines, zones included

/// Thrown when the log was cleared: lines read before that are dropped.
struct LogCleared {};

/// A unique name for a line: its position.
std::string NameOf(const LogPosition& position)
{
    return "line " + std::to_string(position.inode) + ":" + std::to_string(position.head) + ":" +
           std::to_string(position.offset);
}

}  // namespace

Collector::Collector() : clock_(std::time(nullptr))
{
    if (host::maillog::ReadsAllMachines()) marks_.emplace();
}

void Collector::Open()
{
    correlator_.reset();
    store_.emplace(host::maillog::MailLogLivePath());
    correlator_.emplace(*store_);
    const std::int64_t latest = store_->LatestDate();
    nextMonth_ = latest == 0 ? 0 : NextMonth(latest);
    if (tail_) return;
    const LogPosition position = store_->Position();
    tail_.emplace(host::maillog::CollectedLogPath(), position);
    // What was cleared does not come back from a log that is read again.
    lastTime_ = position.inode == 0 ? host::maillog::ClearedAt() : position.time;
    skippedUntil_ = position.inode == 0 || tail_->HasLostPlace() ? lastTime_ : 0;
}

/// Stores everything read so far.
void Collector::Store(LogPosition position)
{
    position.time = lastTime_;
    if (!store_->Store(correlator_->Changed(), correlator_->Ended(), position)) throw LogCleared();

    correlator_->Stored();
    if (storedRuns_++ % kRunsBetweenForgetting == 0) store_->Forget(lastTime_);
    linesHeld_ = 0;
}

/// Closes the month before the first entry of the next one. Put off while a reader has the month
/// open.
void Collector::KeepMonth(std::int64_t time, std::size_t start)
{
    if (nextMonth_ == 0) nextMonth_ = NextMonth(time);
    const Clock::time_point now = Clock::now();
    if (time < nextMonth_ || (closingTried_ && now < *closingTried_ + kBetweenClosings)) return;

    Store(tail_->PositionAt(start));
    correlator_.reset();
    store_.reset();
    closingTried_.reset();
    if (!CloseMonth()) closingTried_ = now;
    Open();
    if (!closingTried_) nextMonth_ = NextMonth(time);
}

/// When a line was written; -1 when that cannot be read. A stamp of the far future, by a wrong
/// clock of whoever wrote it, counts as now: it would keep months from being closed until it comes.
std::int64_t Collector::TimeOf(const LogLine& line)
{
    const std::int64_t time = clock_.Seconds(line.stamp);
    const std::int64_t now = std::time(nullptr);
    return time > now + kClocksApart ? now : time;
}

void Collector::TakeInLine(std::string_view line, std::size_t start)
{
    const std::optional<LogLine> parts = ParseLine(line);
    if (!parts) return;
    std::optional<Event> event = ParseEvent(*parts);
    if (!event || (marks_ && !marks_->Put(parts->machine, *event))) return;
    const std::int64_t time = TimeOf(*parts);
    if (time < 0 || time < skippedUntil_) return;

    KeepMonth(time, start);
    lastTime_ = time;
    std::string name;
    if (event->id.empty()) {
        name = (marks_ ? marks_->Mark() : std::string()) + NameOf(tail_->PositionAt(start));
    }
    correlator_->Apply(*event, time, name);
}

void Collector::TakeIn(std::string_view lines)
{
    std::size_t start = 0;
    while (start < lines.size()) {
        const std::size_t end = lines.find('\n', start);
        TakeInLine(lines.substr(start, end - start), start);
        start = end + 1;
        ++linesHeld_;
    }
    if (linesHeld_ >= kMostLinesHeld) Store(tail_->PositionAt(lines.size()));
}

/// Reads all new lines; false when there are none.
bool Collector::TakeInAll()
{
    std::string_view lines = tail_->Read();
    const bool any = !lines.empty();
    while (!lines.empty()) {
        TakeIn(lines);
        lines = tail_->Read();
    }
    if (linesHeld_ > 0) Store(tail_->PositionAt(0));
    return any;
}

/// Reads all new lines; begins anew where the log was cleared meanwhile.
bool Collector::TakeInNew()
{
    if (!isOpen_) {
        FinishClosing();
        Open();
        isOpen_ = true;
    }
    try {
        return TakeInAll();
    } catch (const LogCleared&) {
        tail_.reset();
        linesHeld_ = 0;
        Open();
        return true;
    }
}

host::Result<bool> Collector::Step()
{
    clock_.SetNow(std::time(nullptr));
    return host::system::Attempt("mail log", [this] { return TakeInNew(); });
}

}  // namespace collector
