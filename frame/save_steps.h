// The steps of save plans, with their labels.
#pragma once

#include <string>

#include "platform/mailvane/callback.h"

/// A step for the SMTP server: "start", "stop" or "restart". The others are alike.
Callback PostfixStep(const std::string& verb);

/// The IMAP and POP3 server.
Callback DovecotStep(const std::string& verb);

/// The DKIM signer.
Callback DkimStep(const std::string& verb);

/// The DMARC checker.
Callback DmarcStep(const std::string& verb);

/// memcached, which has the counters of the rate policy.
Callback MemcachedStep(const std::string& verb);

/// The mail scanner.
Callback ScannerStep(const std::string& verb);

/// The anti-virus engine.
Callback AntiVirusStep(const std::string& verb);

/// Puts mail held for the scanner into the queue again.
Callback RequeueStep();

/// Rebuilds the maps of blind carbon copies, access lists and sender quotas.
Callback MapsStep();

/// Rebuilds the map of the addresses that each login may send from.
Callback LoginMapStep();

/// Reloads the packet filter.
Callback FirewallStep();
