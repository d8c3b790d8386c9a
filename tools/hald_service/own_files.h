// The administrator's own files that the configuration of a mail server names.
#pragma once

#include <string>
#include <vector>

namespace service {

/// The names and states of the files outside of the generations that the texts of these files name:
/// certificates, tables, included configuration, but no logs. A server reads them with its own.
std::string StateOfNamedFiles(const std::vector<std::string>& files);

}  // namespace service
