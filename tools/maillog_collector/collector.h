// The collector: from the mail server's log into the mail-log database.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/libmailvane/maillog/log_clock.h"
#include "tools/maillog_collector/log_tail.h"
#include "tools/maillog_collector/mail_correlator.h"
#include "tools/maillog_collector/mail_store.h"

namespace collector {

/// One run over the log. What was read and its entries are stored together; whatever fails throws,
/// and the next collector goes on where the last one stored.
class Collector {
public:
    /// Opens the log and the database of this machine. Throws std::exception.
    Collector();

    /// Takes in what the log holds by now. False when that was nothing. Throws std::exception.
    bool Step();

private:
    void Open();
    bool TakeInAll();
    void TakeIn(std::string_view lines);
    void TakeInLine(std::string_view line, std::size_t start);
    void KeepMonth(std::int64_t time, std::size_t start);
    std::int64_t TimeOf(const LogLine& line);
    void Store(LogPosition position);

    host::maillog::LogClock clock_;
    std::optional<MailStore> store_;
    std::optional<MailCorrelator> correlator_;
    std::optional<LogTail> tail_;
    std::int64_t nextMonth_ = 0;     ///< when it begins; 0 while there is no entry
    std::int64_t lastTime_ = 0;      ///< of the last line that was taken in
    std::int64_t skippedUntil_ = 0;  ///< lines of before are in already, or were cleared
    std::int64_t closingTried_ = 0;
    int linesHeld_ = 0;  ///< taken in and not stored
    int storedRuns_ = 0;
};

}  // namespace collector
