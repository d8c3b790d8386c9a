// What a file of rules for the spam filter may say. The filter's own language can also load code,
// read other files and change every setting, so only rules are taken.
#pragma once

#include <optional>
#include <string>

namespace host::names {

/// Whether a rule set can have this name: it is that of its file.
bool IsRuleSetName(const std::string& name);

/// What is wrong with one line of a rule file, trimmed and without its comment; empty when it is a
/// rule or says something about one.
std::string FaultOfRuleLine(const std::string& line);

/// The rules of the file at `path`, one a line, without comments. Nothing when it cannot be read or
/// says anything but rules; every line that is refused is logged with its number.
std::optional<std::string> ReadRuleFile(const std::string& path);

}  // namespace host::names
