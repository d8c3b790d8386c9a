// Whether the accounts that an alias can have as members can receive mail.
#pragma once

/// What the alias editor is told about an account.
enum AccountStatus {
    kStatusUnknown = -1,  ///< it could not be found out
    kStatusUsable = 1,
    kStatusExpired = 2,
    kStatusNoAddress = 3,      ///< its name cannot be a mail address
    kStatusMemberUnusable = 4  ///< of a group: a member is not usable
};

/// Status of a user; null is unknown. A failure is logged.
AccountStatus UserStatus(const char* name);

/// Status of a group: that of its members taken together. An empty group is usable.
AccountStatus GroupStatus(const char* name);
