// The steps of save plans, so that their labels are spelled once.
#pragma once

#include <string>

#include "platform/mailvane/callback.h"

/// The SMTP server: "start", "stop" or "restart".
Callback PostfixStep(const std::string& verb);

/// The IMAP and POP3 server.
Callback DovecotStep(const std::string& verb);

/// The DKIM signer.
Callback DkimStep(const std::string& verb);

/// The DMARC checker.
Callback DmarcStep(const std::string& verb);

/// The store of the senders' rates.
Callback MemcachedStep(const std::string& verb);

/// The mail scanner.
Callback ScannerStep(const std::string& verb);

/// The anti-virus engine.
Callback AntiVirusStep(const std::string& verb);

/// Mail held for the scanner goes on its way.
Callback RequeueStep();

/// The maps of blind copies, access lists and sender quotas.
Callback MapsStep();

/// The map of logins and the addresses they may send from.
Callback LoginMapStep();

/// The packet filter.
Callback FirewallStep();
