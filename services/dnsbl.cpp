// DNS blocklists: enum_dnsb, add_dnsb, edit_dnsb, del_dnsb.
#include <boost/foreach.hpp>
#include <list>

#include "frame/mailvane_handler.h"
#include "frame/save_steps.h"
#include "frame/settings_json.h"
#include "platform/mailvane/postfix.h"

namespace {

Postfix::DNSBL Entry(const Json::Value& in, const char* serverMember, const char* typeMember)
{
    return {in[serverMember].asString(), in[typeMember].asString()};
}

Outcome SaveBlocklists(Postfix& postfix)
{
    std::list<Callback> plan;
    if (Setting<bool>(postfix, "smtp_enabled")) plan.push_back(PostfixStep("restart"));
    if (postfix.SaveSettings(plan) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

Outcome ListBlocklists(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    Json::Value& items = response["items"] = Json::Value(Json::arrayValue);
    BOOST_FOREACH (const Postfix::DNSBL& entry, postfix.GetDNSBLList()) {
        Json::Value item;
        item["server"] = entry.server;
        item["type"] = entry.type;
        items.append(item);
    }
    return Outcome::Success();
}

Outcome StoreNewBlocklist(const Json::Value& in)
{
    const Postfix::DNSBL entry = Entry(in, "server", "type");
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    (void)postfix.AddDNSBL(entry);
    return SaveBlocklists(postfix);
}

Outcome ReplaceBlocklist(const Json::Value& in)
{
    const Postfix::DNSBL oldEntry = Entry(in, "orgServer", "orgType");
    const Postfix::DNSBL newEntry = Entry(in, "newServer", "newType");
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    (void)postfix.DeleteDNSBL(oldEntry);
    (void)postfix.AddDNSBL(newEntry);
    return SaveBlocklists(postfix);
}

Outcome RemoveBlocklists(const Json::Value& in)
{
    const Json::Value& entries = in["dnsbList"];
    std::list<Postfix::DNSBL> removed;
    for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
        removed.push_back(Entry(entries[i], "server", "type"));
    }
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    for (const Postfix::DNSBL& entry : removed) (void)postfix.DeleteDNSBL(entry);
    return SaveBlocklists(postfix);
}

}  // namespace

void MailvaneHandler::EnumDnsb()
{
    Json::Value response;
    Answer(response, ListBlocklists(response));
}

void MailvaneHandler::AddDnsb(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreNewBlocklist(in));
}

void MailvaneHandler::EditDnsb(Json::Value& in)
{
    Json::Value response;
    Answer(response, ReplaceBlocklist(in));
}

void MailvaneHandler::DelDnsb(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveBlocklists(in));
}
