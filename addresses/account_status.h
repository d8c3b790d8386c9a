// Whether the accounts that an alias can have as members can receive mail.
#pragma once

/// The status of an account in the alias editor.
enum AccountStatus {
    kStatusUnknown = -1,  ///< not known because of a failure
    kStatusUsable = 1,
    kStatusExpired = 2,
    kStatusNoAddress = 3,      ///< its name cannot be a mail address
    kStatusMemberUnusable = 4  ///< of a group: a member is not usable
};

/// The status of a user; a null name is unknown. Failures are logged.
AccountStatus UserStatus(const char* name);

/// The status of a group: kStatusUsable when all members are usable (also when there are none),
/// else kStatusMemberUnusable; kStatusUnknown when the members cannot be listed. Failures are
/// logged.
AccountStatus GroupStatus(const char* name);
