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

/// A message (with "\r\n" line ends), whose it is, and the account that takes it.
struct Delivery {
    Reporter::SMTP account;
    Envelope envelope;
    std::string message;
    std::string trusted;  ///< `TrustedCertificates`
};

/// Whom a secure connection believes, in PEM form: the machine's authorities, and the certificate
/// that this mail server shows.
std::string TrustedCertificates();

/// What the account lacks to send to these recipients; "" for nothing.
std::string Missing(const Reporter::SMTP& account, const std::vector<std::string>& recipients);

/// Hands a message to the account's server. Returns "" when it was taken
/// for every recipient, else why not; the password is in no such text. A secure connection means
/// TLS from the start on port 465 and STARTTLS elsewhere, with a certificate that is valid for the
/// server's name and one of those that are trusted, or signed by one.
std::string Send(const Delivery& delivery);

}  // namespace report
