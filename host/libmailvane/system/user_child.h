// Work in a user's home directory, with the user's rights.
#pragma once

#include <chrono>
#include <functional>

#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Runs `work` in a child process with the user's rights. It gets a descriptor of the home
/// directory, which must belong to the user, and no other descriptor of this process. True when
/// `work` returned true; false (logged with `what`) when it returned false with errno set, the home
/// could not be opened, or `limit` was over. The child is killed then; if even that fails it is
/// left behind.
bool RunAsUser(const MailAccount& account, const char* what, std::chrono::milliseconds limit,
               const std::function<bool(int home)>& work);

}  // namespace host::system
