// Single accounts and groups. Provided by libhaldsdk.so.6.
#pragma once

struct HLIBCSzList;

struct HALDUser {
    const char* name = nullptr;  ///< the account's own name; may be null
};

/// Finds an account. 0, with a record in `*user` that the caller frees; else negative.
int HALDUserGet(const char* name, HALDUser** user);

/// Frees a record; null is fine.
void HALDUserFree(HALDUser* user);

/// 1 for an expired account, 0 for a valid one, negative on failure. `reserved` is null.
int HALDUserCheckExpired(const char* name, void* reserved);

/// Appends the names of the members of a group. 0; negative when there is no such group or its
/// source does not answer.
int HALDGroupListMember(const char* group, HLIBCSzList** list);
