// Domains and what holds them: what is one, and how it is stored.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host::names {

/// The stored spelling of a domain: lower case, labels in other scripts as A-labels
/// (`b\u00fccher.example` becomes `xn--bcher-kva.example`). Nothing when `text` is no domain: IP
/// addresses and other names that end with a number are none.
std::optional<std::string> StoredDomain(const std::string& text);

/// The same for a domain of two or more labels, such as mail domains and DNS zones.
std::optional<std::string> StoredMailDomain(const std::string& text);

/// An address, or `@domain`, with the labels of other scripts as A-labels. All other text, and what
/// has no A-labels, stays as it is.
std::string WithALabels(const std::string& address);

/// Patterns for SQL's `LIKE ? ESCAPE '\'` that match stored names with `text` in them: as it was
/// typed, and, in other scripts, as it is stored.
std::vector<std::string> SearchPatterns(const std::string& text);

}  // namespace host::names
