// Checks of texts that are written into generated files.
#pragma once

#include <string>

namespace host::names {

/// Whether a text is UTF-8 without control characters. Generated files quote special characters.
bool IsPlainText(const std::string& text);

/// Whether this is a host name with or without a domain: letters, digits, hyphens and dots, at most
/// 253 bytes.
bool IsHostName(const std::string& text);

/// As `IsHostName`, or empty.
bool IsHostNameOrEmpty(const std::string& text);

/// A domain: a host name that does not end with a number, as IP addresses do. No top-level domain
/// is one.
bool IsDomain(const std::string& text);

/// What a DNS blocklist lists: "rbl_client" (addresses of clients), "rhsbl_sender" (domains of
/// senders) or "rhsbl_helo" (names that clients greet with).
bool IsBlocklistType(const std::string& text);

/// A login of this server, in any of the forms that clients use.
bool IsLogin(const std::string& text);

/// A login for another server: plain text without a colon.
bool IsRelayAccount(const std::string& text);

/// A host name, or an IP address in brackets or without, or empty.
bool IsHostOrAddressOrEmpty(const std::string& text);

/// One label of a domain name.
bool IsLabel(const std::string& text);

/// The NetBIOS name of a Windows domain, or empty.
bool IsShortDomainOrEmpty(const std::string& text);

/// A mail address `local@domain` or only the local part, without blanks, control characters,
/// quotes, angle brackets, commas and map syntax; at most 254 bytes.
bool IsMailAddress(const std::string& text);

/// As `IsMailAddress`, but with a domain.
bool IsFullAddress(const std::string& text);

}  // namespace host::names
