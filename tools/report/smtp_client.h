// Sends a message through an SMTP account.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/reporter.h"

namespace report {

struct Envelope {
    std::string greeting;  ///< host name for the greeting
    std::string from;
    std::vector<std::string> to;
};

/// Fails with what the account lacks to send to these recipients.
host::Result<void> CheckAccount(const Reporter::SMTP& account,
                                const std::vector<std::string>& recipients);

/// Hands a message (with "\r\n" line ends) to the account's server. Fails unless it was taken for
/// every recipient; the password is in no such reason. A secure connection means TLS from the start
/// on port 465 and STARTTLS elsewhere, with a certificate that is valid for the server's name:
/// signed by an authority that the machine trusts, or this mail server's own.
host::Result<void> Send(const Reporter::SMTP& account, const Envelope& envelope,
                        const std::string& message);

}  // namespace report
