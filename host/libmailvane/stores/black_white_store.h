// The black and the white list of the spam filter in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/spam.h"

namespace host::stores {

/// The SQL script that creates the table of both lists. A name can be on one of them only.
constexpr char kBlackWhiteTable[] =
    "CREATE TABLE black_white (type INTEGER NOT NULL, name TEXT NOT NULL, "
    "name_type INTEGER NOT NULL, black_white INTEGER NOT NULL, "
    "PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The entry as a line of the export format: `sender`, `recipient` or `client`, and the name. A
/// domain tree begins with a dot: `sender .a.example`.
std::string BlackWhiteLine(const Rule& rule);

/// Parses a line of that format as an entry of the list `which`, in stored spelling. A name alone
/// is a client when it is an IP address or network, else a sender. Any other line is refused.
Result<Rule> ParseBlackWhiteLine(const std::string& line, int which);

inline constexpr RuleList kBlackWhiteRules = {
    "black_white",           "type, name, name_type, black_white",
    "type, name, name_type", {{"name", "name"}, {"name", "name"}},
    BlackWhiteLine,          ParseBlackWhiteLine};
static_assert(IsMadeBy(kBlackWhiteRules, kBlackWhiteTable));

/// The list selected by a number: the white list unless it is BLACK_LIST.
BlackWhiteType ListOf(int blackWhite);

/// The entry in stored spelling. Refused for an unknown type or kind and for a bad name.
Result<Rule> StoredRule(const BlackWhite& entry);

/// What removes an entry of its list; its name may be in any spelling.
Rule KeyOf(const BlackWhite& entry);

/// The search of a filter.
RuleSearch SearchOf(const BlackWhiteFilter& filter);

/// Stored rules as the platform takes them.
std::list<BlackWhite> BlackWhiteEntries(const Rules& rules);

}  // namespace host::stores
