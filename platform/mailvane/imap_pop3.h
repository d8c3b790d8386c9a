// Settings and control of the IMAP and POP3 server. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

class ImapPop3 : public Config {
public:
    ImapPop3();
    ~ImapPop3() override;

    /// Reads the stored settings. 0, negative on failure.
    int LoadSettings();

    /// As `Postfix::SaveSettings`, for these settings.
    int SaveSettings(const std::list<Callback>& steps);

    /// As `Postfix::Service`. The server runs while a mailbox service or SMTP is on, since SMTP
    /// uses it for logins and local delivery.
    static int Service(const std::string& verb);
};
