// The search of the address lists.
#pragma once

#include <string>
#include <utility>

/// A search for texts that contain a query, without regard to case (both UTF-8).
class Search {
public:
    explicit Search(std::string query) : query_(std::move(query)) {}

    /// Whether the query occurs in a text. An empty query matches any text except an empty one;
    /// null matches nothing. False (logged) when the conversion to upper case fails.
    bool Matches(const char* text);

private:
    std::string query_;
    std::string upperQuery_;  ///< empty until it is known
    std::string upperText_;   ///< of the last text; kept for its room
};
