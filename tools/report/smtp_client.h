// Sends a message through an SMTP account.
#pragma once

#include <string>
#include <vector>

#include "platform/mailvane/reporter.h"

namespace report {

struct Envelope {
    std::string greeting;  ///< host name for the greeting
    std::string from;
    std::vector<std::string> to;
};

/// What the account lacks to send to these recipients; "" for nothing.
std::string Missing(const Reporter::SMTP& account, const std::vector<std::string>& recipients);

/// Hands a message (with "\r\n" line ends) to the account's server. Returns "" when it was taken
/// for every recipient, else why not; the password is in no such text. A secure connection means
/// TLS from the start on port 465 and STARTTLS elsewhere, with a certificate that is valid for the
/// server's name: signed by an authority that the machine trusts, or this mail server's own.
std::string Send(const Reporter::SMTP& account, const Envelope& envelope,
                 const std::string& message);

}  // namespace report
