// Whether the machine is a member of a Windows domain or uses an LDAP directory. Provided by
// libhaldsdk.so.6.
#pragma once

/// Non-zero when the machine has joined a Windows domain, else 0.
int HALDWinsIsJoined();

/// Non-zero when the machine uses an LDAP server, else 0.
int HALDLDAPIsBinded();

/// Copies the login suffix of the LDAP directory, with a NUL, to `buffer` (of `size` bytes). 0;
/// negative, with an empty `buffer`, on failure.
int HALDLDAPLoginSuffixGet(char* buffer, int size);
