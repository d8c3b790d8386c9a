// The end of a month: its entries become a file of their own.
#pragma once

#include <cstdint>
#include <string>

namespace collector {

/// The first second of the month after the one that holds `time` (this machine's time zone).
std::int64_t NextMonth(std::int64_t time);

/// Moves the current database into the log's folder, named by the month of its latest entry, and
/// puts one in its place that goes on: with the totals, the position and what belongs to messages
/// under way. The closed month has no write-ahead log. Nobody may have the current database open;
/// false, and all is as before, while somebody has. Throws std::exception.
bool CloseMonth();

/// Finishes what a kill interrupted. Throws std::exception.
void FinishClosing();

}  // namespace collector
