// Self-check of the mail server: mailvane_check.
#include <boost/foreach.hpp>
#include <list>

#include "frame/mailvane_handler.h"
#include "frame/settings_json.h"
#include "platform/mailvane/analyzer.h"
#include "platform/mailvane/postfix.h"

namespace {

Outcome CheckServer(Json::Value& response)
{
    // Before the settings are asked: when both fail, the failed check is what is answered.
    Analyzer analyzer;
    Postfix postfix;
    std::list<Analyzer::Result> results;
    if (analyzer.Analyze(results) < 0) return Outcome::SystemError();

    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    if (!Setting<bool>(postfix, "smtp_enabled")) {
        return Outcome::Fail("diagnose", "smtp_is_not_enabled");
    }

    Json::Value& settings = response["settings"] = Json::Value(Json::arrayValue);
    BOOST_FOREACH (const Analyzer::Result& result, results) {
        Json::Value item;
        item["key"] = result.key;
        item["status"] = result.status;
        settings.append(item);
    }
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::CheckMailvane()
{
    Json::Value response;
    Answer(response, CheckServer(response));
}
