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

/// A message (with "\r\n" line ends), its envelope, and the account that it is sent through.
struct Delivery {
    Reporter::SMTP account;
    Envelope envelope;
    std::string message;
    std::string trusted;  ///< `TrustedCertificates`
    int seconds = 120;    ///< after which it is given up
};

/// The trusted certificates (PEM): the machine's authorities, and the certificate of this mail
/// server.
std::string TrustedCertificates();

/// Fails with the setting of the account that is missing for sending to these recipients.
host::Result<void> CheckAccount(const Reporter::SMTP& account,
                                const std::vector<std::string>& recipients);

/// Sends a message. Fails unless it was accepted for every recipient; the reason never holds the
/// password. A secure connection means TLS on port 465 and STARTTLS on others, with a certificate
/// valid for the server's name that is trusted, or signed by a trusted one.
host::Result<void> Send(const Delivery& delivery);

}  // namespace report
