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
    bool proves = true;   ///< the server of a secure connection has to prove its name
};

/// How far a conversation came in which nothing is sent.
enum class Step { kName, kConnection, kEncryption, kLogin, kAnswer, kDone };

/// What became of it.
struct Greeting {
    Step step = Step::kDone;                            ///< the one that failed
    host::ReasonCode code = host::ReasonCode::kSystem;  ///< why it did
    long status = 0;                                    ///< the server's last one; 0 without any
    bool isOwn = false;                                 ///< the server would be this machine
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

/// Connects to the server as `Send` does, unless that is this machine, and logs in. Each address is
/// judged where it would be connected to.
Greeting Greet(const Delivery& delivery);

}  // namespace report
