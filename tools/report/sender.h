// Sending by a process with a user of its own, who owns no files. It gets only the message and the
// account.
#pragma once

#include <string>

#include "tools/report/smtp_client.h"

namespace report {

/// As `Send`, by a process of the sender's user; by this one when it is not root.
host::Result<void> SendAsItsUser(const Delivery& delivery);

/// The main function of that process: sends what standard input describes, and writes the reason of
/// a failure to standard output. Returns the exit status.
int SendFromInput();

}  // namespace report
