// What a request changes and what of it fails, for the audit line in the system log.
#pragma once

#include <string>

namespace host {

/// Remembers the name of a setting or list that is about to change. Never a value, which may be
/// secret.
void NoteChange(const std::string& name);

/// The names in the order of their first mention, separated by ", ".
std::string NotedChanges();

/// Remembers why a part of the request failed, though its answer may be success. Only the first one
/// counts; the log has them all.
void NoteFailure(const std::string& reason);

/// The first of these reasons; empty when nothing has failed.
const std::string& NotedFailure();

}  // namespace host
