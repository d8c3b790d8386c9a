// What the names of aliases and of their members must be.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/alias.h"

namespace host::names {

/// The types of members.
enum MemberType { kUserMember = 0, kGroupMember = 1, kAliasMember = 2, kOutsideMember = 3 };

/// Whether a name can stand before the "@" of an address of this server: at most 64 letters, digits
/// and ._-+=&'~$, the first a letter, a digit or an underscore, no dots side by side or at the end.
/// Neither maps nor the text format of the aliases give any of these a meaning.
bool IsLocalPart(const std::string& name);

/// Refuses a member whose name its type does not allow. Users are local parts, also with a Windows
/// domain and a backslash before them; groups are plain text without <>,:" and are never part of a
/// map; outside addresses have a domain and nothing beyond ASCII.
Result<void> CheckMember(const MemberInfo& member);

}  // namespace host::names
