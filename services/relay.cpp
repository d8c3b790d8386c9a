// SMTP relay: load_relay, save_relay.
#include <boost/foreach.hpp>

#include "frame/mailvane_handler.h"
#include "frame/save_steps.h"
#include "frame/settings_json.h"
#include "platform/mailvane/postfix.h"

namespace {

const char kPasswordKey[] = "smtp_relay_password";

Outcome ReadRelay(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    AllSettingsToJson(response, postfix);
    response[kPasswordKey] = "";  // write-only: never sent to the client
    return Outcome::Success();
}

Outcome StoreRelay(const Json::Value& in)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    const bool keepPassword = in[kPasswordKey].asString().empty();
    BOOST_FOREACH (const boost::any& key, postfix.GetKeyList()) {
        if (keepPassword && Config::GetKeyName(key) == kPasswordKey) continue;
        SetConfigFromJson(in, postfix, key);
    }

    // By the settings of the request, which the object has by now, not by the stored ones.
    std::list<Callback> plan;
    if (Setting<bool>(postfix, "smtp_enabled")) plan.push_back(PostfixStep("restart"));
    if (postfix.SaveSettings(plan) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadRelay()
{
    Json::Value response;
    Answer(response, ReadRelay(response));
}

void MailvaneHandler::SaveRelay(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreRelay(in));
}
