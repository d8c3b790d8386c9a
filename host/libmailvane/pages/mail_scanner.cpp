// Settings of the mail scanner.
#include "platform/mailvane/mail_scanner.h"

#include "host/libmailvane/pages/config.h"

MailScanner::MailScanner()
{
    state_->object = host::SettingsObject::kMailScanner;
}

MailScanner::~MailScanner() = default;

int MailScanner::LoadSettings()
{
    return host::LoadConfig(*state_);
}

int MailScanner::SaveSettings(const std::list<Callback>& steps)
{
    return host::SaveConfig(*state_, steps);
}
