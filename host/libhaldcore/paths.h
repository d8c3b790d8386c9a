// Paths on the machine.
#pragma once

#include <string>

namespace host {

/// An absolute path below the machine's root, which is "/" except in tests.
std::string Path(const std::string& path);

/// A path inside the package, for example `PackagePath("etc/mailvane.conf")`.
std::string PackagePath(const std::string& relative);

/// The certificates of the authorities that this machine trusts.
constexpr char kAuthorities[] = "/etc/ssl/certs/ca-certificates.crt";

/// For tests: uses this directory as root. Empty means "/".
void SetRoot(const std::string& directory);

}  // namespace host
