// Names of mail users, as administrators enter them.
#pragma once

#include <string>

/// The login for an entered name: `name@suffix` with an LDAP directory, `DOMAIN\name` with a
/// Windows domain. The name itself with local accounts, or when the settings cannot be read.
std::string AccountLoginName(const std::string& name);

/// Whether blind carbon copies can go to this target: an address with "@", the name of an account,
/// or that of an alias in its exact spelling.
bool IsValidBccTarget(const std::string& name);
