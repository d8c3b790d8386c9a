// Helpers of the settings pages. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class WebUtils {
public:
    /// Non-zero when a TCP port in [from, to] is in use by anything other than the named services
    /// (comma-separated; blanks around a name do not count).
    static int IsPortConflict(const char* services, int from, int to);
};

/// The texts with `separator` between them; "" for none.
std::string StringJoin(const std::list<std::string>& texts, const char* separator);
