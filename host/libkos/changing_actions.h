// The actions that change something although they are called by plain parameters.
#pragma once

#include <string>
#include <vector>

namespace kos {

class ChangingActions {
public:
    /// Reads `state_changing_actions` of the package's etc/web.conf, names separated by blanks.
    /// Without file or key the built-in list is used.
    static ChangingActions Read();

    bool Contains(const std::string& action) const;

private:
    std::vector<std::string> names_;
};

}  // namespace kos
