// Members of the groups of one account source.
#include "host/libhaldsdk/group_members.h"

#include <unordered_set>

#include "host/libhaldsdk/account_lookup.h"

namespace host {

bool GroupMembers::Connect()
{
    if (engine_) return true;

    std::unique_ptr<AccountEngine> engine = EngineOf(source_);
    if (!engine) return false;

    primary_.clear();
    const bool answered = engine->EachUser([this](const User& user) {
        if (IsMailUser(user)) primary_[user.gid].push_back(user.name);
    });
    if (answered) engine_ = std::move(engine);
    return answered;
}

Lookup GroupMembers::Find(const std::string& group, std::vector<std::string>& members)
{
    members.clear();
    if (!Connect()) return Lookup::kFailed;

    Group found;
    const Lookup result = engine_->FindGroup(group, found);
    if (result != Lookup::kFound) return result;

    std::unordered_set<std::string> seen;
    for (const std::vector<std::string>& names : {found.members, primary_[found.gid]}) {
        for (const std::string& name : names) {
            if (seen.insert(name).second) members.push_back(name);
        }
    }
    return Lookup::kFound;
}

}  // namespace host
