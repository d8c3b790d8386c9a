// The part of a list that a page shows.
#pragma once

class ListWindow {
public:
    /// Parses the parameters "start" and "limit", decimal numbers. Both may be negative: the window
    /// then begins before the list, or shows nothing.
    ListWindow(const char* start, const char* limit);

    /// Whether it shows the element with this index.
    bool Shows(long long index) const { return index >= start_ && index < end_; }

private:
    long long start_;
    long long end_;
};
