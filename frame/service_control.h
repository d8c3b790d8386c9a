// Bringing the mail services in line: control scripts, maps, held mail, packet filter. The
// functions that take one text fit a step of a save plan (save_steps.h) and return the result of
// what they run, negative on failure.
#pragma once

#include <string>

/// Run a control script of the package with a verb.
int RunOpenDkimScript(const std::string& verb);
int RunMemcachedScript(const std::string& verb);
int RunOpenDmarcScript(const std::string& verb);

/// Queues every held message again. The argument is not looked at.
int RequeueHold(const std::string& unused);

/// Rebuilds the map of logins and the addresses they may send from. The argument is not looked at.
int GenerateLoginMap(const std::string& unused);

/// Makes the packet filter reload its rules. The argument is not looked at.
int HupFirewall(const std::string& unused);

/// Rebuilds the maps of blind copies, access lists and sender quotas, in this order; the first
/// failure is logged and ends it. The argument is not looked at.
int RegenerateMapFiles(const std::string& unused);

/// Moves a file; -1 at once when a name is empty.
int MoveFile(const std::string& source, const std::string& target);
