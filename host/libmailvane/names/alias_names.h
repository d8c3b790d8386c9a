// Rules for the names of aliases and their members.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/alias.h"

namespace host::names {

/// The types of members.
enum MemberType { kUserMember = 0, kGroupMember = 1, kAliasMember = 2, kOutsideMember = 3 };

/// Whether a name can be the part of an address before the "@": 1 to 64 letters, digits and
/// ._-+=&'~$; the first a letter, a digit or "_"; no dot at the end or next to another. None of
/// these characters is special in maps or in the text format of the aliases.
bool IsLocalPart(const std::string& name);

/// The member in stored spelling: the domains of outside addresses in A-labels.
MemberInfo StoredMember(MemberInfo member);

/// Refuses a member with an invalid name. Users are local parts, also as `OFFICE\anna`; groups are
/// plain text without <>,:" (they are never written into a map); outside addresses have a domain
/// and only ASCII.
Result<void> CheckMember(const MemberInfo& member);

}  // namespace host::names
