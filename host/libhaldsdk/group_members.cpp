// Members of the groups of one account source.
#include "host/libhaldsdk/group_members.h"

#include <unordered_set>

#include "host/libhaldsdk/account_lookup.h"

namespace host {

Result<void> GroupMembers::Connect()
{
    if (engine_) return {};

    Result<EnginePointer> engine = EngineOf(source_);
    if (!engine) return std::move(engine).reason();

    primary_.clear();
    Result<void> answered = (*engine)->EachUser([this](const User& user) {
        if (IsMailUser(user)) primary_[user.gid].push_back(user.name);
    });
    if (answered) engine_ = *std::move(engine);
    return answered;
}

Result<std::optional<std::vector<std::string>>> GroupMembers::Find(const std::string& group)
{
    Result<void> connected = Connect();
    if (!connected) return std::move(connected).reason();

    const Result<std::optional<Group>> found = engine_->FindGroup(group);
    if (!found) return found.reason();
    if (!*found) return {std::nullopt};

    std::vector<std::string> members;
    std::unordered_set<std::string> seen;
    for (const std::vector<std::string>& names : {(*found)->members, primary_[(*found)->gid]}) {
        for (const std::string& name : names) {
            if (seen.insert(name).second) members.push_back(name);
        }
    }
    return std::make_optional(std::move(members));
}

}  // namespace host
