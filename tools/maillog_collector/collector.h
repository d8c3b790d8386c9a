// The collector: reads Postfix's log into the mail log's database.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/maillog/log_clock.h"
#include "tools/maillog_collector/log_tail.h"
#include "tools/maillog_collector/machine_marks.h"
#include "tools/maillog_collector/mail_correlator.h"
#include "tools/maillog_collector/mail_store.h"

namespace collector {

/// Reads the machine's log from the stored position on. Entries and position are stored in one
/// transaction; after a failure a new object continues from the last one.
class Collector {
public:
    Collector();

    /// Reads what the log has by now. False when there was nothing new. The reason for a database
    /// that is damaged, so that another attempt is useless, has the code kDamaged.
    host::Result<bool> Step();

private:
    using Clock = std::chrono::steady_clock;

    void Open();
    bool TakeInNew();
    bool TakeInAll();
    void TakeIn(std::string_view lines);
    void TakeInLine(std::string_view line, std::size_t start);
    void KeepMonth(std::int64_t time, std::size_t start);
    std::int64_t TimeOf(const LogLine& line);
    void Store(LogPosition position);

    host::maillog::LogClock clock_;
    std::optional<MachineMarks> marks_;  ///< where the log has the lines of several machines
    bool isOpen_ = false;
    std::optional<MailStore> store_;
    std::optional<MailCorrelator> correlator_;
    std::optional<LogTail> tail_;
    std::int64_t nextMonth_ = 0;     ///< its first second; 0 while there is no entry
    std::int64_t lastTime_ = 0;      ///< of the last line that was taken in
    std::int64_t skippedUntil_ = 0;  ///< lines of before are in already, or were cleared
    std::optional<Clock::time_point> closingTried_;
    int linesHeld_ = 0;  ///< lines read but not yet stored
    int storedRuns_ = 0;
};

}  // namespace collector
