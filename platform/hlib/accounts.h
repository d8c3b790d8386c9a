// Lists of accounts by source, and services of the system. Provided by libhaldsdk.so.6.
#pragma once

struct HLIBCSzList;

/// The sources of accounts.
constexpr int HLIB_ACCOUNT_LOCAL = 1;
constexpr int HLIB_ACCOUNT_DOMAIN = 2;
constexpr int HLIB_ACCOUNT_LDAP = 8;

/// Appends the names of all users of a source and returns their number; negative when the source
/// does not answer. `domain` is the short name of a Windows domain, null for other sources.
int HLIBUserEnum(HLIBCSzList** list, int source, const char* domain);

/// As `HLIBUserEnum`, for groups.
int HLIBGroupEnum(HLIBCSzList** list, int source, const char* domain);

/// Copies the real name of the account `login` to `buffer` (of `size` bytes plus a terminator).
/// 0; negative when there is no such account or its source does not answer.
int HLIBUserRealNameGet(const char* login, char* buffer, int size);

/// Non-zero when the service is started at boot, else 0.
int HLIBServiceIsEnabled(const char* service);
