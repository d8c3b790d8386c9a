// The alias table. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

/// One member of an alias.
struct MemberInfo {
    std::string name;  ///< user, group, alias or outside address
    int type = 0;      ///< 0 user, 1 group, 2 alias, 3 outside address
};

/// The alias table as `load` finds it, with the changes that `save` stores.
class Alias {
public:
    Alias();
    ~Alias();
    Alias(const Alias&) = delete;
    Alias& operator=(const Alias&) = delete;

    /// Reads the table; negative on failure.
    int load();
    /// Stores the table atomically and makes the mail server use it; negative on failure, after a
    /// refused change, or after a failed `load`, with the stored table unchanged.
    int save();

    /// The names in the order of the table. A table that cannot be read any more throws.
    std::list<std::string> getAliasNameList();
    /// Sets `members` to those of an alias; negative when there is no such alias.
    int loadMember(const std::string& alias, std::list<MemberInfo>& members);
    /// Adds members, creating a missing alias; negative when refused.
    int addMember(const std::string& alias, const std::list<MemberInfo>& members);
    /// Removes members; negative when there is no such alias.
    int delMember(const std::string& alias, const std::list<MemberInfo>& members);
    /// Renames an alias; negative when refused.
    int changeAliasName(const std::string& from, const std::string& to);
    /// Removes aliases; negative on failure.
    int delAlias(const std::list<std::string>& names);

    /// Export the table to an existing file, and import it from a file, with lines `name: member,
    /// member`. The import is all or nothing. Negative on failure.
    int ExportAlias(const std::string& path);
    int ImportAlias(const std::string& path);

private:
    struct State;
    State* state_;  ///< owned
};
