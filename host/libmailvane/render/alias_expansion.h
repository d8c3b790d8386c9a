// Expansion of aliases to their final recipients.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/render/looked_up.h"
#include "host/libmailvane/stores/alias_store.h"

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
/// loop. In memory is what one of them reaches.
class AliasExpansion {
public:
    /// Returns the members of a group, none when it does not exist.
    using Group = std::function<Result<std::vector<std::string>>(const std::string& group)>;

    /// Reads aliases of an open database, which must outlive the object. `domains` are the server's
    /// mail domains.
    AliasExpansion(SQLite::Database& aliases, const std::vector<std::string>& domains, Group group);

    /// Makes the role `name` (such as postmaster) reach `user`, unless there is an alias of that
    /// name. Before the first `Expand`.
    void AddRole(const std::string& name, const std::string& user);

    /// The recipients of an alias, without duplicates. Fails when there are too many, or when
    /// `Group` does. Throws SQLite::Exception.
    Result<Recipients> Expand(const stores::AliasEntry& alias);

private:
    using Members = std::vector<MemberInfo>;
    /// A list of members: the id of an alias, or a number below 0 of a group or role.
    using List = std::int64_t;
    struct Walk;

    List AliasList(const std::string& name);  ///< 0 when there is none
    Result<List> GroupList(const std::string& name);
    List Keep(Members members);
    void ForgetGroups();
    /// The first member that stands after a position, which becomes its own; null when there is
    /// none. It stays until the next call.
    const MemberInfo* Next(List list, std::int64_t& position);
    const stores::MemberPage& Page(List list, std::int64_t position);
    Result<void> Visit(Walk& walk, const MemberInfo& member);
    void VisitLocal(Walk& walk, const std::string& name);
    void VisitAddress(Walk& walk, const std::string& address);

    stores::AliasFinder aliases_;
    LookedUp<std::string, List> names_;         ///< by names in lower case
    LookedUp<List, stores::MemberPage> pages_;  ///< of aliases, the last of each
    std::set<std::string> domains_;             ///< in lower case
    Group group_;
    std::unordered_map<std::string, List> groups_;  ///< those looked up and not forgotten
    std::unordered_map<std::string, List> roles_;
    std::unordered_map<List, Members> kept_;  ///< members of these
    std::size_t keptOfGroups_ = 0;            ///< groups and their members among them
    List nextKept_ = -1;
};

}  // namespace host::render
