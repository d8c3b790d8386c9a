// The calls of the program.
#pragma once

#include <string>

#include "platform/web/request_rules.h"
#include "upkeep/request/request.h"

namespace upkeep {

/// The parameter of a query, or the member of a JSON body, that names a call.
inline constexpr char kCallMember[] = "call";

/// One call. Those of the first table come as a query, those of the second as a JSON body. A row
/// has one of the two functions.
struct Call {
    const char* name;
    Answer (*run)(const Request& request);
    RequestDemands demands;
    host::Result<Download> (*download)(const Request& request) = nullptr;
};

/// The call of a name in the first or second table; null when there is none.
const Call* FindRead(const std::string& name);
const Call* FindChange(const std::string& name);

/// The demands of the rows; nothing in a file weakens them.
class CallRules : public RequestRules {
public:
    const char* NameMember() const override;
    RequestDemands DemandsOf(const std::string& name, bool hasBody) const override;
};

}  // namespace upkeep
