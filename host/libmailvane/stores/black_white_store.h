// The black and the white list of the spam filter in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/spam.h"

namespace host::stores {

/// The script that makes the table of both lists: a name stands on one of them.
constexpr char kBlackWhiteTable[] =
    "CREATE TABLE black_white (type INTEGER NOT NULL, name TEXT NOT NULL, "
    "name_type INTEGER NOT NULL, black_white INTEGER NOT NULL, "
    "PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// `sender`, `recipient` or `client`, and the name, whichever list it stands on. A domain tree has
/// a dot in front, so that the kind of every name shows. A name alone is that of a sender, or of a
/// client if it is an IP address or network. What is read is an entry of the list `which`.
std::string BlackWhiteLine(const Rule& rule);
Result<Rule> ParseBlackWhiteLine(const std::string& line, int which);

inline constexpr RuleList kBlackWhiteRules = {
    "black_white",           "type, name, name_type, black_white",
    "type, name, name_type", {{"name", "name"}, {"name", "name"}},
    BlackWhiteLine,          ParseBlackWhiteLine};
static_assert(IsMadeBy(kBlackWhiteRules, kBlackWhiteTable));

/// The list that a number selects.
BlackWhiteType ListOf(int blackWhite);

/// The entry as it is stored. Refused for a type, kind or name that no list can hold.
Result<Rule> StoredRule(const BlackWhite& entry);

/// What removes an entry of its list; its name may be in any spelling.
Rule KeyOf(const BlackWhite& entry);

/// The search of a filter.
RuleSearch SearchOf(const BlackWhiteFilter& filter);

/// Stored rules as the platform takes them.
std::list<BlackWhite> BlackWhiteEntries(const Rules& rules);

}  // namespace host::stores
