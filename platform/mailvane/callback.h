// One step of a save plan. Provided by libmailvane.so.
#pragma once

#include <string>

/// A step that a save runs after the new settings are in force.
struct Callback {
    std::string name;                 ///< for the log
    int (*func)(const std::string&);  ///< the step; negative on failure
    std::string arg;                  ///< passed to `func`
};
