// Settings of the mail scanner.
#include "platform/mailvane/mail_scanner.h"

#include "host/libmailvane/pages/config.h"

MailScanner::MailScanner()
{
    state_->object = host::settings::SettingsObject::kMailScanner;
}

MailScanner::~MailScanner() = default;

int MailScanner::LoadSettings()
{
    return host::pages::LoadConfig(*state_);
}

int MailScanner::SaveSettings(const std::list<Callback>& steps)
{
    return host::pages::SaveConfig(*state_, steps);
}
