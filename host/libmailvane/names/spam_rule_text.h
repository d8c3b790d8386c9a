// What a file of rules for the spam filter may say. The filter's own language can also load code,
// read other files and change every setting, so only rules are taken.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::names {

/// What stands before the name of a rule set, on the line before its rules, in the rules in force.
constexpr char kRuleSetHeading[] = "# rule set: ";

/// Whether a rule set can have this name: it is that of its file.
bool IsRuleSetName(const std::string& name);

/// Refuses a line of a rule file, trimmed and without its comment, that is no rule and says nothing
/// about one.
Result<void> CheckRuleLine(const std::string& line);

/// The rules of the file at `path`, one a line, without comments. Refused when it says anything but
/// rules, as `ReadListText` does.
Result<std::string> ReadRuleFile(const std::string& path);

}  // namespace host::names
