// Whether the machine takes part in a Windows domain or an LDAP directory.
// Provided by libhaldsdk.so.6.
#pragma once

/// Non-zero when the machine has joined a Windows domain, else 0.
int HALDWinsIsJoined();

/// Non-zero when the machine is bound to an LDAP server, else 0.
int HALDLDAPIsBinded();

/// Copies the login suffix of the LDAP directory to `buffer` (of `size` bytes, terminated).
/// 0 on success; `buffer` is empty otherwise.
int HALDLDAPLoginSuffixGet(char* buffer, int size);
