// Calls that try whether mail gets anywhere.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `relay_test`: greets the stored relay host and logs in as the mail server does, and sends
/// nothing: `server` and `port`, whether it `works`, else the `step` that failed ("name",
/// "connection", "encryption", "login", "answer") and why (`code`, the word of a reason), and the
/// server's last `status`, 0 without one. Refused where the relay host would be this machine. Ends
/// within 18 seconds.
Answer RelayTest(const Request& request);

/// `mail_test`: sends a message to the mail user `to`, or without one to the postmaster, and waits
/// at most 15 seconds for what becomes of it: `to` (its address), `outcome` ("delivered", "waits"
/// or "refused"), `id` (its queue id; empty while there is none), `reason` (the mail server's, not
/// of what is delivered). One a minute.
Answer MailTest(const Request& request);

}  // namespace upkeep
