// Where things lie on the machine.
#pragma once

#include <string>

namespace host {

/// `path` (absolute) under the root of the machine. The root is "/" but for tests, which put a
/// directory of their own in its place.
std::string Path(const std::string& path);

/// A path inside the package, for example `PackagePath("etc/mailvane.conf")`.
std::string PackagePath(const std::string& relative);

/// The certificates of the authorities that this machine trusts.
constexpr char kAuthorities[] = "/etc/ssl/certs/ca-certificates.crt";

/// For tests: the directory that stands for "/". Empty for the machine's own root.
void SetRoot(const std::string& directory);

}  // namespace host
