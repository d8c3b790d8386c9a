// Members of many groups of one account source.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldsdk/account_engine.h"

namespace host {

class GroupMembers {
public:
    /// `source` is a selector of platform/hlib/accounts.h. Its engine is opened at the first
    /// `Find`.
    explicit GroupMembers(int source) : source_(source) {}

    /// The names of a group's members, those with it as primary group included, without duplicates.
    /// Nothing when there is no such group; fails when the engine does not answer.
    Result<std::optional<std::vector<std::string>>> Find(const std::string& group);

private:
    Result<void> Connect();

    int source_;
    EnginePointer engine_;
    std::unordered_map<gid_t, std::vector<std::string>> primary_;  ///< names by primary group
};

}  // namespace host
