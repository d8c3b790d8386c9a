// The part of a list that a page shows.
#include "addresses/list_window.h"

#include <cstdlib>
#include <limits>

ListWindow::ListWindow(const char* start, const char* limit)
    : start_(std::strtol(start, nullptr, 10)), end_(0)
{
    const long long length = std::strtol(limit, nullptr, 10);
    if (!__builtin_add_overflow(start_, length, &end_)) return;

    using Limits = std::numeric_limits<long long>;
    end_ = length < 0 ? Limits::min() : Limits::max();
}
