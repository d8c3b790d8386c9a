// Work in a user's home directory, with the user's rights.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Runs `work` in a child process with the user's rights. It gets a descriptor of the home
/// directory, which must belong to the user, and no other descriptor of this process. Fails when
/// `work` does, the home cannot be opened, or `limit` is over; the reason is about the user and its
/// line begins with `what`. The child is killed then; if even that fails it is left behind.
Result<void> RunAsUser(const MailAccount& account, const std::string& what,
                       std::chrono::milliseconds limit,
                       const std::function<Result<void>(int home)>& work);

}  // namespace host::system
