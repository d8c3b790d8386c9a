// The rules of blind copies in etc/mailvane.db.
#pragma once

#include <list>
#include <string>

#include "host/libmailvane/stores/rule_store.h"
#include "platform/mailvane/bcc.h"

namespace host::stores {

/// The script that makes the table of the rules.
constexpr char kBccTable[] =
    "CREATE TABLE bcc (type INTEGER NOT NULL, name TEXT NOT NULL, bcc_to TEXT NOT NULL, "
    "PRIMARY KEY (type, name)) WITHOUT ROWID";

/// A name and where its copies go, which is also a line of a map of Postfix.
std::string BccLine(const Rule& rule);
Result<Rule> ParseBccLine(const std::string& line, int type);

inline constexpr RuleList kBccRules = {"bcc",        "type, name, bcc_to",
                                       "type, name", {{"name", "name"}, {"bcc_to", "bcc_to"}},
                                       BccLine,      ParseBccLine};
static_assert(IsMadeBy(kBccRules, kBccTable));

/// The rule as it is stored. A rule is for an address, for a user of this server by the bare name,
/// or for a whole domain, "@domain"; others are refused.
Result<Rule> StoredRule(const BccInfo& rule);

/// Refuses what is no address or user that copies could go to.
Result<void> CheckCopyTarget(const std::string& address);

/// What removes a rule, wherever its copies go; its name may be in any case.
Rule KeyOf(const BccInfo& rule);

/// Stored rules as the platform takes them.
std::list<BccInfo> BccEntries(const Rules& rules);

}  // namespace host::stores
