// Work in a user's home, done with the user's own rights.
#pragma once

#include <chrono>
#include <functional>

#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Runs `work` in a child that has become the user, with a descriptor of the home directory, which
/// must be the user's; the child has no other descriptor of this process. True when it returned
/// true. False, logged with `what`, when it returned false (with errno set), the home was not had,
/// or `limit` was over. The child is killed then; one that does not end even so is left behind.
bool RunAsUser(const MailAccount& account, const char* what, std::chrono::milliseconds limit,
               const std::function<bool(int home)>& work);

}  // namespace host::system
