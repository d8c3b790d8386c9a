// Names that the access lists and the black and white lists hold: what each kind must be, how it is
// stored, under which keys Postfix looks it up.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/mailvane/access.h"

namespace host::names {

/// The one spelling under which a name is stored: lower case, an IPv6 address in its short form, a
/// network without host bits, a domain tree without a dot in front, an IPv4 address that is wrapped
/// in an IPv6 one as IPv4. Nothing when `text` is no name of that kind.
std::optional<std::string> StoredName(NameType kind, const std::string& text);

/// Whether `text` is a name of that kind, in any spelling.
bool IsNameOfKind(NameType kind, const std::string& text);

/// The keys of a stored name in a Postfix access map (access(5), `parent_domain_matches_subdomains`
/// empty). A domain tree is the domain and all below it: two keys, the domain itself first.
std::vector<std::string> AccessKeys(NameType kind, const std::string& name);

/// A stored name as texts for people show it: a domain tree has a dot in front, so that the kind of
/// every name shows. And the kind that a name in such a text has.
std::string NameInText(NameType kind, const std::string& name);
NameType KindInText(const std::string& name);

/// Bits of the prefix of a stored address or network; 32 or 128 for an address.
int PrefixLength(const std::string& name);

}  // namespace host::names
