// Names of mail users as the administrator types them.
#pragma once

#include <string>

/// The login name of a typed name at the account source in use: `name@suffix` in an LDAP directory,
/// `DOMAIN\name` in a Windows domain. The name unchanged for local accounts, and when the settings
/// cannot be read.
std::string AccountLoginName(const std::string& name);

/// Whether a blind copy can go there: any address with "@", the name of an account, or that of an
/// alias in its exact spelling.
bool IsValidBccTarget(const std::string& name);
