// Settings of the mail scanner: load_spam_config, save_spam_config.
#include "frame/mailvane_handler.h"
#include "frame/settings_json.h"
#include "platform/mailvane/mail_scanner.h"

namespace {

Outcome ReadScanner(Json::Value& response)
{
    MailScanner scanner;
    if (scanner.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, scanner);
    return Outcome::Success();
}

Outcome StoreScanner(const Json::Value& in)
{
    MailScanner scanner;
    if (scanner.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsFromJson(in, scanner);
    // By the settings of the request, which the object has by now, not by the stored ones.
    std::list<Callback> plan;
    if (Setting<bool>(scanner, "spam_enable")) {
        plan.push_back({"MailScanner service", &MailScanner::Service, "restart"});
    }
    if (scanner.SaveSettings(plan) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadSpamConfig()
{
    Json::Value response;
    Answer(response, ReadScanner(response));
}

void MailvaneHandler::SaveSpamConfig(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreScanner(in));
}
