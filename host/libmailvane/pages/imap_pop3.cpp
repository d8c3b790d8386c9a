// Settings of the IMAP and POP3 server.
#include "platform/mailvane/imap_pop3.h"

#include "host/libmailvane/pages/config.h"

ImapPop3::ImapPop3()
{
    state_->object = host::settings::SettingsObject::kImapPop3;
}

ImapPop3::~ImapPop3() = default;

int ImapPop3::LoadSettings()
{
    return host::pages::LoadConfig(*state_);
}

int ImapPop3::SaveSettings(const std::list<Callback>& steps)
{
    return host::pages::SaveConfig(*state_, steps);
}
