// Work in a user's home, done with the user's own rights.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Runs `work` in a child that has become the user, with a descriptor of the home directory, which
/// must be the user's; the child has no other descriptor of this process. Fails when the work does,
/// the home was not had, or `limit` was over, with the name of the user as what it is about and a
/// line that begins with `what`. After its limit the child is killed; one that does not end even so
/// is left behind.
Result<void> RunAsUser(const MailAccount& account, const std::string& what,
                       std::chrono::milliseconds limit,
                       const std::function<Result<void>(int home)>& work);

}  // namespace host::system
