// The process that speaks to the account's server: a program with a user of its own, who has no
// files and gets no more than the message and the account.
#pragma once

#include <string>

#include "tools/report/smtp_client.h"

namespace report {

/// Has a process under the sender's user hand the message over; as `Send`. Without the rights to
/// become that user, this process does it.
std::string SendAsItsUser(const Delivery& delivery);

/// What that process does: sends what standard input tells, and writes to standard output why it
/// was not taken. The exit status of the program.
int SendFromInput();

}  // namespace report
