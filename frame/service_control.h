// Control of the mail services: control scripts, maps, held mail, packet filter. The functions with
// one text parameter can be steps of a save plan (save_steps.h). They return the result of what
// they run, negative on failure.
#pragma once

#include <string>

/// Run the control script of a service with a verb.
int RunOpenDkimScript(const std::string& verb);
int RunMemcachedScript(const std::string& verb);
int RunOpenDmarcScript(const std::string& verb);

/// Puts every held message into the queue again. The argument is ignored.
int RequeueHold(const std::string& unused);

/// Rebuilds the map of the addresses that each login may send from. The argument is ignored.
int GenerateLoginMap(const std::string& unused);

/// Makes the packet filter reload its rules. The argument is ignored.
int HupFirewall(const std::string& unused);

/// Rebuilds the maps of blind carbon copies, access lists and sender quotas, in this order, up to
/// the first failure, which is logged. The argument is ignored.
int RegenerateMapFiles(const std::string& unused);

/// Moves a file; -1 without trying when a name is empty.
int MoveFile(const std::string& source, const std::string& target);
