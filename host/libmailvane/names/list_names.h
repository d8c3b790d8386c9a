// The names in the access lists and the black and white list: what is valid, the stored spelling,
// and the keys under which Postfix looks them up.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/mailvane/access.h"

namespace host::names {

/// The stored spelling of a name: lower case, A-labels for other scripts, short form of IPv6,
/// networks without host bits, domain trees without the leading dot, IPv4-mapped addresses as IPv4.
/// `.A.Example` becomes `a.example`. Nothing when `text` is no name of that kind.
std::optional<std::string> StoredName(NameType kind, const std::string& text);

/// Whether `text`, in any spelling, is a name of that kind.
bool IsNameOfKind(NameType kind, const std::string& text);

/// The keys of a stored name in an access(5) map, with `parent_domain_matches_subdomains` empty. A
/// domain tree has two, the domain and all below: `a.example`, `.a.example`.
std::vector<std::string> AccessKeys(NameType kind, const std::string& name);

/// Convert between stored names and the text format, where a domain tree begins with a dot, so that
/// its kind can be told from that of a domain.
std::string NameInText(NameType kind, const std::string& name);
NameType KindInText(const std::string& name);

}  // namespace host::names
