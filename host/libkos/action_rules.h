// The rules of the actions' requests.
#pragma once

#include <string>
#include <vector>

#include "platform/web/request_rules.h"

namespace kos {

/// An action with a JSON body and an upload change something. One that is called by plain
/// parameters does when `state_changing_actions` of the package's etc/web.conf names it.
class ActionRules : public RequestRules {
public:
    /// Reads the file, whose names are separated by blanks. Without file or key the built-in list
    /// is used.
    ActionRules();

    const char* NameMember() const override;
    RequestDemands DemandsOf(const std::string& name, bool hasBody) const override;

private:
    std::vector<std::string> changing_;
};

}  // namespace kos
