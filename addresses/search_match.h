// The search of the address lists.
#pragma once

/// Whether `query` occurs anywhere in `text`, whatever the case of either (both UTF-8). An empty
/// query matches any text but an empty one; null matches nothing. False, logged, when one of them
/// cannot be put in upper case.
bool SearchMatches(const char* text, const char* query);
