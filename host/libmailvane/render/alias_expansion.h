// Expansion of aliases to their final recipients.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/alias_table.h"

namespace host::render {

/// An alias with more recipients than this is refused.
constexpr int kMostRecipientsOfAlias = 100000;

struct Recipients {
    std::vector<std::string> users;    ///< mailboxes of this server, by their names before the "@"
    std::vector<std::string> outside;  ///< complete addresses
};

/// Expands aliases, with nested aliases, groups and addresses in the server's own domains. An alias
/// that contains itself reaches the mailbox of its name: with `info: info, anna`, mail goes to the
/// mailboxes info and anna. The result has no aliases left but such ones, so that Postfix meets no
/// loop.
class AliasExpansion {
public:
    /// Returns the members of a group, none when it does not exist.
    using Group = std::function<Result<std::vector<std::string>>(const std::string& group)>;

    /// `table` must outlive the object. `domains` are the server's mail domains.
    AliasExpansion(const stores::AliasTable& table, const std::vector<std::string>& domains,
                   Group group);

    /// Makes the role `name` (such as postmaster) reach `user`, unless there is an alias of that
    /// name.
    void AddRole(const std::string& name, const std::string& user);

    /// The recipients of an alias, without duplicates. Fails when there are too many, or when
    /// `Group` does.
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
    std::unordered_map<std::string, Members> groups_;  ///< those looked up so far
    std::unordered_map<std::string, Members> roles_;
};

}  // namespace host::render
