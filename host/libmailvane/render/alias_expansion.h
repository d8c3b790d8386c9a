// Who gets the mail of an alias in the end.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/alias_table.h"

namespace host::render {

/// More than this many recipients of one alias are refused.
constexpr int kMostRecipientsOfAlias = 100000;

struct Recipients {
    std::vector<std::string> users;    ///< mailboxes here: what stands before the "@"
    std::vector<std::string> outside;  ///< whole addresses
};

/// Expands aliases: nested ones, groups, addresses of the server's own domains. A name that is an
/// alias stands for the alias wherever it is met, as it does in the mail server; one that leads
/// back to itself reaches the mailbox of that name. So what is expanded needs no expansion any more
/// or expands into itself, and no loop is left to the mail server.
class AliasExpansion {
public:
    /// Gives the members of a group; none for one that does not exist.
    using Group = std::function<Result<std::vector<std::string>>(const std::string& group)>;

    /// `table` must outlive the object. `domains` are those of the server.
    AliasExpansion(const stores::AliasTable& table, const std::vector<std::string>& domains,
                   Group group);

    /// Makes names of the machine that are no aliases reach a user.
    void AddRole(const std::string& name, const std::string& user);

    /// Each recipient of an alias once. Fails when there are too many, and as the groups do.
    Result<Recipients> Expand(const stores::AliasEntry& alias);

private:
    using Members = std::vector<MemberInfo>;
    struct Walk;

    const Members* AliasMembers(const std::string& name) const;
    Result<const Members*> GroupMembers(const std::string& name);
    Result<void> Visit(Walk& walk, const MemberInfo& member);
    void VisitLocal(Walk& walk, const std::string& name);
    void VisitAddress(Walk& walk, const std::string& address);

    const stores::AliasTable& table_;
    std::set<std::string> domains_;  ///< in lower case
    Group group_;
    std::unordered_map<std::string, Members> groups_;  ///< those met so far
    std::unordered_map<std::string, Members> roles_;
};

}  // namespace host::render
