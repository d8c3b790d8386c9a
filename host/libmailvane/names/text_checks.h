// What a text must be before it reaches a generated file.
#pragma once

#include <string>

namespace host::names {

/// No control characters and no byte that is no UTF-8 text's; generated files quote what remains.
bool IsPlainText(const std::string& text);

/// A fully qualified or single-label host name, letters, digits, hyphens and dots, 253 bytes at
/// most.
bool IsHostName(const std::string& text);

/// As `IsHostName`, or empty.
bool IsHostNameOrEmpty(const std::string& text);

/// A host name of two labels or more, as mail domains and DNS zones are.
bool IsMailDomain(const std::string& text);

/// What a DNS blocklist lists: "rbl_client" (addresses of clients), "rhsbl_sender" (domains of
/// senders) or "rhsbl_helo" (names that clients greet with).
bool IsBlocklistType(const std::string& text);

/// A login of this server, in any spelling.
bool IsLogin(const std::string& text);

/// A login name for another server: plain text without a colon.
bool IsRelayAccount(const std::string& text);

/// A host name, or an IP address in brackets or without, or empty.
bool IsHostOrAddressOrEmpty(const std::string& text);

/// "local", "ldap" or "win".
bool IsAccountType(const std::string& text);

/// One label of a domain name.
bool IsLabel(const std::string& text);

/// The short name of a Windows domain, or empty.
bool IsShortDomainOrEmpty(const std::string& text);

/// A mail address `local@domain` or a bare local part, free of blanks, control characters, quotes,
/// angle brackets, commas and map syntax; at most 254 bytes.
bool IsMailAddress(const std::string& text);

/// As `IsMailAddress`, but no bare local part.
bool IsFullAddress(const std::string& text);

/// What the scanner does with spam and with viruses.
bool IsSpamAction(const std::string& text);
bool IsVirusAction(const std::string& text);

}  // namespace host::names
