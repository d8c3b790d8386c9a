// The actions that change something although they come as plain parameters.
#pragma once

#include <string>
#include <vector>

namespace kos {

class ChangingActions {
public:
    /// Reads `state_changing_actions` of the package's etc/web.conf: names with blanks between.
    /// When the file or the key is missing, the actions of the package as it was built count.
    static ChangingActions Read();

    bool Contains(const std::string& action) const;

private:
    std::vector<std::string> names_;
};

}  // namespace kos
