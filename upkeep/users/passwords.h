// Passwords of users and of the caller.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libhaldcore/subject.h"

namespace upkeep {

/// Refuses a password that has fewer than 10 or more than 128 characters, or control characters;
/// `about` is the member that has it.
host::Result<void> CheckPassword(const std::string& password, host::Subject about);

/// Keeps the memory of this process out of core dumps, also of those that are piped to a program.
/// To be called before a password is used.
void KeepOutOfCores();

/// The hash of a password (SHA-512 of crypt(3), which all web servers know).
host::Result<std::string> HashOf(const std::string& password);

/// Whether a password has this hash, by crypt(3).
host::Result<bool> HasHash(const std::string& password, const std::string& hash);

}  // namespace upkeep
