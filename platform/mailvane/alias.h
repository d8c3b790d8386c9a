// The alias table. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

/// One member of an alias.
struct MemberInfo {
    std::string name;  ///< user, group, alias or outside address
    int type = 0;      ///< 0 user, 1 group, 2 alias, 3 outside address
};

/// A copy of the alias table in memory, from `load` to `save`.
class Alias {
public:
    Alias();
    ~Alias();
    Alias(const Alias&) = delete;
    Alias& operator=(const Alias&) = delete;

    /// Reads the table; negative on failure.
    int load();
    /// Writes the table back in one step and makes the mail server use it; negative on failure or
    /// when a change was refused. After a failed `load` the stored table is left alone.
    int save();

    /// Names in the table's order.
    std::list<std::string> getAliasNameList();
    /// Replaces the contents of `members`; negative when there is no such alias.
    int loadMember(const std::string& alias, std::list<MemberInfo>& members);
    /// Adds members, creating a missing alias; negative when refused.
    int addMember(const std::string& alias, const std::list<MemberInfo>& members);
    /// Removes members; negative when there is no such alias.
    int delMember(const std::string& alias, const std::list<MemberInfo>& members);
    /// Renames an alias; negative when refused.
    int changeAliasName(const std::string& from, const std::string& to);
    /// Removes aliases; negative on failure.
    int delAlias(const std::list<std::string>& names);

    /// Write the table to an existing file, read it from a file: `name: member, member` a line.
    /// The import is all or nothing. Negative on failure.
    int ExportAlias(const std::string& path);
    int ImportAlias(const std::string& path);

private:
    struct State;
    State* state_;  ///< owned
};
