// Closing a month: its entries are moved to a database of their own.
#pragma once

#include <cstdint>
#include <string>

namespace collector {

/// The first second of the month after that of `time`, in the machine's time zone.
std::int64_t NextMonth(std::int64_t time);

/// Moves the current database into the log's folder, as 2026-10.db for example, and replaces it by
/// a new one (the successor) with the totals, the log position and the unfinished messages. The
/// closed month has no write-ahead log. False, with nothing changed, while a reader has the current
/// database open. Throws std::exception.
bool CloseMonth();

/// Completes a closing that was interrupted by a kill. Throws std::exception.
void FinishClosing();

}  // namespace collector
