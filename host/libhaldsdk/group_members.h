// Members of the groups of one account source, for whoever expands many of them.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldsdk/account_engine.h"

namespace host {

class GroupMembers {
public:
    /// `source` is a selector of platform/hlib/accounts.h. Its engine is asked when a group is
    /// first looked for.
    explicit GroupMembers(int source) : source_(source) {}

    /// The names of the members, those that have it as their primary group included, each once.
    /// kFailed, with errno set, when the engine does not answer.
    Lookup Find(const std::string& group, std::vector<std::string>& members);

private:
    bool Connect();

    int source_;
    std::unique_ptr<AccountEngine> engine_;
    std::unordered_map<gid_t, std::vector<std::string>> primary_;  ///< names by primary group
};

}  // namespace host
