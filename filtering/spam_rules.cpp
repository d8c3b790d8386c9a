// Rule sets of the spam filter: load_spam_rules, save_spam_rules, delete_rules, export_rule.
#include <boost/foreach.hpp>
#include <list>
#include <string>

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
    const Json::Value& listed = in["modifiedList"];
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    std::list<SpamRule> rules;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) {
        rules.push_back({listed[i]["ruleName"].asString(), listed[i]["isEnable"].asBool()});
    }
    BOOST_FOREACH (const SpamRule& rule, rules) {
        (void)(rule.enabled ? spam->enableRule(rule.name) : spam->disableRule(rule.name));
    }
    return RestartSpamFilter(*spam) < 0 ? Outcome::SystemError() : Outcome::Success();
}

Outcome RemoveRules(const Json::Value& in)
{
    const Json::Value& listed = in["deleteList"];
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    std::list<std::string> names;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) {
        names.push_back(listed[i]["ruleName"].asString());
    }
    BOOST_FOREACH (const std::string& name, names) (void)spam->deleteRule(name);
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
    const std::string path = Spam::GetImportRulePath(web_.In("rule_name", "no_rule"));
    if (path.empty()) {
        LogError(Here(), "import rule not exit");
        return;
    }

    const char* name = web_.In("rule_name", nullptr);
    if (!SendDownload(path, name == nullptr ? "(null)" : name)) LogError(Here(), "rule open fail");
}
