// The account type of the mail server.
#include "platform/mailvane/smtp.h"
#include "host/libmailvane/settings/stored_settings.h"

struct SMTP::State {
    std::string accountType;
};

SMTP::SMTP() : state_(new State) {}

SMTP::~SMTP()
{
    delete state_;
}

int SMTP::load()
{
    const auto settings = host::settings::StoredSettings::Read();
    if (!host::Succeeded(settings)) return -1;

    state_->accountType = settings->Text("account_type");
    return 0;
}

std::string SMTP::getAccountType() const
{
    return state_->accountType;
}
