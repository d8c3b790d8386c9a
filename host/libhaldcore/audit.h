// The names of what a request changes, for the audit line in the system log.
#pragma once

#include <string>

namespace host {

/// Remembers the name of a setting or list that is about to change. Never a value, which may be
/// secret.
void NoteChange(const std::string& name);

/// The names in the order of their first mention, separated by ", ".
std::string NotedChanges();

}  // namespace host
