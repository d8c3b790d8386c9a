// The access lists in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/access.h"

namespace host::stores {

/// The script that makes the table of the access lists.
constexpr char kAccessTable[] =
    "CREATE TABLE access (type INTEGER NOT NULL, name TEXT NOT NULL, name_type INTEGER NOT NULL, "
    "status INTEGER NOT NULL, PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// What an entry does with names of its list: `name permission`. A domain tree has a dot in front,
/// so that the kind of every name shows.
std::string AccessLine(const Rule& rule);
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

/// The entry as it is stored. Refused for a type, kind, name or permission that no list can hold.
Result<Rule> StoredRule(const AccessInfo& entry);

/// What removes an entry, whatever its permission; its name may be in any spelling.
Rule KeyOf(const AccessInfo& entry);

/// Stored rules as the platform takes them.
std::list<AccessInfo> AccessEntries(const Rules& rules);

}  // namespace host::stores
