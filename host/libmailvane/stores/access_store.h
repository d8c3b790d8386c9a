// The access lists in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/access.h"

namespace host::stores {

/// The SQL script that creates the table.
constexpr char kAccessTable[] =
    "CREATE TABLE access (type INTEGER NOT NULL, name TEXT NOT NULL, name_type INTEGER NOT NULL, "
    "status INTEGER NOT NULL, PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The entry as a line of the export format, `name permission`. A domain tree begins with a dot:
/// `.a.example REJECT` is for a.example and all below it.
std::string AccessLine(const Rule& rule);

/// Parses a line of that format; the entry has the stored spelling.
Result<Rule> ParseAccessLine(const std::string& line, int type);

inline constexpr RuleList kAccessRules = {
    "access",
    "type, name, name_type, status",
    "type, name, name_type",
    {{"name", "name"},
     {"status", "CASE status WHEN 0 THEN 'OK' WHEN 1 THEN 'REJECT' ELSE 'DISCARD' END"}},
    AccessLine,
    ParseAccessLine};
static_assert(IsMadeBy(kAccessRules, kAccessTable));

/// The entry in stored spelling. Refused for an unknown type, kind or permission and for a bad
/// name.
Result<Rule> StoredRule(const AccessInfo& entry);

/// What removes an entry, whatever its permission; its name may be in any spelling.
Rule KeyOf(const AccessInfo& entry);

/// Stored rules as the platform takes them.
std::list<AccessInfo> AccessEntries(const Rules& rules);

}  // namespace host::stores
