// Enumeration of accounts by source, and services of the system. Provided by libhaldsdk.so.6.
#pragma once

struct HLIBCSzList;

/// Source selectors of the enumerations.
constexpr int HLIB_ACCOUNT_LOCAL = 1;
constexpr int HLIB_ACCOUNT_DOMAIN = 2;
constexpr int HLIB_ACCOUNT_LDAP = 8;

/// Appends the names of the users of one source. `domain` is the short name of a Windows domain,
/// null for the other sources. The number appended; negative when the source does not answer.
int HLIBUserEnum(HLIBCSzList** list, int source, const char* domain);

/// The same for groups.
int HLIBGroupEnum(HLIBCSzList** list, int source, const char* domain);

/// Copies the real name of the account `login` to `buffer` (of `size` bytes plus a terminator).
/// 0; negative when there is no such account or its source does not answer.
int HLIBUserRealNameGet(const char* login, char* buffer, int size);

/// Non-zero when the system starts the service, else 0.
int HLIBServiceIsEnabled(const char* service);
