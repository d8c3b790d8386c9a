// The rules of blind carbon copies in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/bcc.h"

namespace host::stores {

/// The SQL script that creates the table.
constexpr char kBccTable[] =
    "CREATE TABLE bcc (type INTEGER NOT NULL, name TEXT NOT NULL, bcc_to TEXT NOT NULL, "
    "PRIMARY KEY (type, name)) WITHOUT ROWID";

/// The rule as a line, `name target`: the format of exports and of the Postfix map.
std::string BccLine(const Rule& rule);

/// Parses a line of that format; the rule has the stored spelling.
Result<Rule> ParseBccLine(const std::string& line, int type);

inline constexpr RuleList kBccRules = {"bcc",        "type, name, bcc_to",
                                       "type, name", {{"name", "name"}, {"bcc_to", "bcc_to"}},
                                       BccLine,      ParseBccLine};
static_assert(IsMadeBy(kBccRules, kBccTable));

/// The rule in stored spelling. Its name must be an address, the bare name of a user of this
/// server, or "@domain"; others are refused.
Result<Rule> StoredRule(const BccInfo& rule);

/// The stored spelling of where copies go. Refused when it is neither an address nor a user.
Result<std::string> StoredCopyTarget(const std::string& address);

/// What removes a rule, wherever its copies go; its name may be in any case.
Rule KeyOf(const BccInfo& rule);

/// Stored rules as the platform takes them.
std::list<BccInfo> BccEntries(const Rules& rules);

}  // namespace host::stores
