// What a request changes, for the line about it in the system log.
#pragma once

#include <string>

namespace host {

/// Remembers the name of a setting or list that is about to change; never a value, which may be
/// secret.
void NoteChange(const std::string& name);

/// The names so far in the order of their first mention, with ", " between.
std::string NotedChanges();

}  // namespace host
