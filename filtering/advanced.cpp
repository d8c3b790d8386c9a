// Advanced settings against spam, those of the SMTP server: load_adv_anti_spam,
// save_advance_anti_spam.
#include "frame/mailvane_handler.h"
#include "frame/save_steps.h"
#include "frame/settings_json.h"
#include "platform/mailvane/postfix.h"

namespace {

Outcome ReadAdvanced(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, postfix);
    response["smtp_relay_password"] = "";  // write-only: never sent to the client
    return Outcome::Success();
}

Outcome StoreAdvanced(const Json::Value& in)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsFromJson(in, postfix);
    if (postfix.SaveSettings({PostfixStep("restart")}) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadAdvAntiSpam()
{
    Json::Value response;
    Answer(response, ReadAdvanced(response));
}

void MailvaneHandler::SaveAdvanceAntiSpam(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreAdvanced(in));
}
