// Sending by a separate process, with a user of its own who owns no files. It gets only the message
// and the account.
#pragma once

#include <string>

#include "tools/report/smtp_client.h"

namespace report {

/// As `Send`, in a process of user mailvane-report; in this process when it is not root.
host::Result<void> SendAsItsUser(const Delivery& delivery);

/// The main function of that process: sends what standard input describes, and writes the reason of
/// a failure to standard output. Returns the exit status.
int SendFromInput();

}  // namespace report
