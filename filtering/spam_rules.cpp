// Rule sets of the spam filter: load_spam_rules, save_spam_rules, delete_rules, export_rule.
#include <boost/foreach.hpp>

#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/spam.h"

namespace {

Outcome ListRules(Json::Value& response)
{
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::Fail();

    Json::Value items(Json::arrayValue);
    BOOST_FOREACH (const SpamRule& rule, spam->getSpamRules()) {
        Json::Value item;
        item["isEnable"] = rule.enabled;
        item["ruleName"] = rule.name;
        items.append(item);
    }
    response["total"] = items.size();
    response["items"] = items;
    return Outcome::Success();
}

/// Restarts the scanner, which reads rules at its start. Does nothing (0) while it checks no spam.
int RestartSpamFilter(const Spam& spam)
{
    return spam.isEnableSpamassassin() ? MailScanner::Service("restart") : 0;
}

// Deliberate, in both of the next two: a rule that cannot be switched or removed leaves the others
// to follow; the client loads the list again.

Outcome SwitchRules(const Json::Value& in)
{
    const Json::Value& rules = in["modifiedList"];
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    for (Json::ArrayIndex i = 0; i < rules.size(); ++i) {
        const std::string name = rules[i]["ruleName"].asString();
        const bool enable = rules[i]["isEnable"].asBool();
        (void)(enable ? spam->enableRule(name) : spam->disableRule(name));
    }
    return RestartSpamFilter(*spam) < 0 ? Outcome::SystemError() : Outcome::Success();
}

Outcome RemoveRules(const Json::Value& in)
{
    const Json::Value& rules = in["deleteList"];
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    for (Json::ArrayIndex i = 0; i < rules.size(); ++i) {
        (void)spam->deleteRule(rules[i]["ruleName"].asString());
    }
    if (RestartSpamFilter(*spam) < 0) {
        LogError(Here(), "fail to restart mailscanner service");
        // Deliberate: without a message. The rules are gone, only the scanner has not noticed.
        return Outcome::Fail();
    }
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadSpamRules()
{
    Json::Value response;
    Answer(response, ListRules(response));
}

void MailvaneHandler::SaveSpamRules(Json::Value& in)
{
    Json::Value response;
    Answer(response, SwitchRules(in));
}

void MailvaneHandler::DeleteRules(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveRules(in));
}

void MailvaneHandler::ExportRule()
{
    Spam* spam = Spam::getInstance();
    const std::string path =
        spam == nullptr ? "" : spam->GetImportRulePath(web_.In("rule_name", "no_rule"));
    if (path.empty()) {
        LogError(Here(), "import rule not exit");
        return;
    }

    const char* name = web_.In("rule_name", nullptr);
    if (!SendDownload(path, name == nullptr ? "(null)" : name)) LogError(Here(), "rule open fail");
}
