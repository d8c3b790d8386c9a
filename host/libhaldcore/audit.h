// What a request changes and what of it fails, for the audit line in the system log; and how often.
#pragma once

#include <cstdint>
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

/// How a change ended, as the counts have it.
inline constexpr char kChangeDone[] = "done";
inline constexpr char kChangeFailed[] = "failed";

/// Counts a change that ended so: /run/mailvane/changes.done and changes.failed, as long as there
/// were changes since the machine was started. Programs that run at the same time need no lock.
/// A change that cannot be counted is no worse for it.
void CountChange(const char* result);

/// How many changes ended so.
std::int64_t CountedChanges(const char* result);

}  // namespace host
