// Functions for the settings pages. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class WebUtils {
public:
    /// Non-zero when a TCP port in [from, to] is used by something other than the services named in
    /// `services` (separated by commas; blanks are ignored).
    static int IsPortConflict(const char* services, int from, int to);
};

/// The texts, joined with `separator`; "" for none.
std::string StringJoin(const std::list<std::string>& texts, const char* separator);
