// Settings and control of the mail scanner. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

class MailScanner : public Config {
public:
    MailScanner();
    ~MailScanner() override;

    /// Reads the stored settings. 0, negative on failure.
    int LoadSettings();

    /// As `Postfix::SaveSettings`, for these settings.
    int SaveSettings(const std::list<Callback>& steps);

    /// As `Postfix::Service`, for the scanner. When all its switches are off, it is stopped and the
    /// call succeeds.
    static int Service(const std::string& verb);

    /// As `Postfix::Service`, for the anti-virus engine.
    static int AntiVirusService(const std::string& verb);
};
