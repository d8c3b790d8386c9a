// What is allowed in a file of rules for the spam filter: only rules, since the filter's language
// can also load code, read other files and change every setting.
#pragma once

#include <map>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::names {

/// The start of the line that precedes a rule set in the rules in force; the set's name follows.
constexpr char kRuleSetHeading[] = "# rule set: ";

/// The beginning of the names of uploads, which a rule set cannot have.
constexpr char kUploadedFile[] = "mailvane-upload.";

/// Whether a rule set can have this name, which is also its file's name.
bool IsRuleSetName(const std::string& name);

/// Rule sets: name and rules.
using RuleSets = std::map<std::string, std::string>;

/// The rule sets in a text of rules in force, and the text of rule sets: each after its heading.
RuleSets RuleSetsIn(const std::string& text);
std::string TextOfRuleSets(const RuleSets& sets);

/// Refuses a line, trimmed and without its comment, unless it defines a rule or describes one.
Result<void> CheckRuleLine(const std::string& line);

/// Reads the rules from the file at `path`, one a line, without comments. Refuses the file when a
/// line is not allowed, with causes as `ReadListText`.
Result<std::string> ReadRuleFile(const std::string& path);

}  // namespace host::names
