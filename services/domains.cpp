// Additional mail domains: enum_domain, add_domain, edit_domain, delete_domain.
#include <boost/foreach.hpp>
#include <list>
#include <string>

#include "frame/mailvane_handler.h"
#include "frame/save_steps.h"
#include "frame/settings_json.h"
#include "platform/mailvane/postfix.h"

namespace {

/// Saves the list of domains and restarts the DKIM signer and the SMTP server, if they are on.
Outcome SaveDomains(Postfix& postfix)
{
    std::list<Callback> plan;
    if (Setting<bool>(postfix, "enable_dkim")) plan.push_back(DkimStep("restart"));
    if (Setting<bool>(postfix, "smtp_enabled")) plan.push_back(PostfixStep("restart"));
    if (postfix.SaveSettings(plan) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

Outcome ListDomains(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    Json::Value& items = response["items"] = Json::Value(Json::arrayValue);
    BOOST_FOREACH (const std::string& domain, postfix.GetAdditionDomain()) {
        Json::Value item;
        item["domain"] = domain;
        items.append(item);
    }
    return Outcome::Success();
}

Outcome StoreNewDomain(const Json::Value& in)
{
    const std::string domain = in["domain"].asString();
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    (void)postfix.AddDomain(domain);
    return SaveDomains(postfix);
}

Outcome ReplaceDomain(const Json::Value& in)
{
    const std::string oldDomain = in["orgDomain"].asString();
    const std::string newDomain = in["newDomain"].asString();
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    (void)postfix.DeleteDomain(oldDomain);
    (void)postfix.AddDomain(newDomain);
    return SaveDomains(postfix);
}

Outcome RemoveDomains(const Json::Value& in)
{
    const Json::Value& domains = in["domainList"];
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    for (Json::ArrayIndex i = 0; i < domains.size(); ++i) {
        (void)postfix.DeleteDomain(domains[i]["domain"].asString());
    }
    return SaveDomains(postfix);
}

}  // namespace

void MailvaneHandler::EnumDomain()
{
    Json::Value response;
    Answer(response, ListDomains(response));
}

void MailvaneHandler::AddDomain(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreNewDomain(in));
}

void MailvaneHandler::EditDomain(Json::Value& in)
{
    Json::Value response;
    Answer(response, ReplaceDomain(in));
}

void MailvaneHandler::DeleteDomain(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveDomains(in));
}
