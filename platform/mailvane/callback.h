// One step of a save plan. Provided by libmailvane.so.
#pragma once

#include <string>

/// A step that the service library runs after it has stored settings.
struct Callback {
    std::string name;                 ///< shown in the service library's log
    int (*func)(const std::string&);  ///< the step; negative on failure
    std::string arg;                  ///< handed to `func`
};
