// Sending a message by an SMTP account.
#pragma once

#include <string>
#include <vector>

#include "platform/mailvane/reporter.h"

namespace report {

struct Envelope {
    std::string greeting;  ///< host name for EHLO
    std::string from;
    std::vector<std::string> to;
};

/// Which setting of the account is missing for sending to these recipients; "" for none.
std::string Missing(const Reporter::SMTP& account, const std::vector<std::string>& recipients);

/// Sends a message (with "\r\n" line ends). Returns "" when it was accepted for every recipient,
/// else the reason, never with the password. A secure connection means TLS on port 465 and STARTTLS
/// on others, with a certificate valid for the server's name: from a trusted authority, or that of
/// this mail server.
std::string Send(const Reporter::SMTP& account, const Envelope& envelope,
                 const std::string& message);

}  // namespace report
