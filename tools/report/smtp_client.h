// Sending a message by an SMTP account.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/reporter.h"

namespace report {

struct Envelope {
    std::string greeting;  ///< host name for EHLO
    std::string from;
    std::vector<std::string> to;
};

/// Fails with the setting of the account that is missing for sending to these recipients.
host::Result<void> CheckAccount(const Reporter::SMTP& account,
                                const std::vector<std::string>& recipients);

/// Sends a message (with "\r\n" line ends). Fails unless it was accepted for every recipient; the
/// reason never holds the password. A secure connection means TLS on port 465 and STARTTLS on
/// others, with a certificate valid for the server's name: from a trusted authority, or that of
/// this mail server.
host::Result<void> Send(const Reporter::SMTP& account, const Envelope& envelope,
                        const std::string& message);

}  // namespace report
