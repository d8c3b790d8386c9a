// The search of the address lists.
#pragma once

/// Whether `query` occurs in `text`, without regard to case (both UTF-8). An empty query matches
/// any text except an empty one; null matches nothing. False (logged) when the conversion to upper
/// case fails.
bool SearchMatches(const char* text, const char* query);
