// Automatic blind copies: load_bcc, export_bcc, add_bcc, edit_bcc, delete_bcc.
#include <boost/foreach.hpp>
#include <list>

#include "addresses/account_names.h"
#include "addresses/list_filter.h"
#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "platform/mailvane/bcc.h"

namespace {

BccType TypeOf(const Json::Value& number)
{
    return static_cast<BccType>(number.asInt());
}

/// The number less one; the smallest wraps around to the largest, without undefined behaviour.
int OneLess(int number)
{
    return static_cast<int>(static_cast<unsigned int>(number) - 1U);
}

bool ShowsAlwaysCopy(const std::string& always, const Filter& filter)
{
    if (always.empty()) return false;
    if (filter.searchKey.empty()) return true;

    return filter.searchType == "all" && always.find(filter.searchKey) != std::string::npos;
}

/// Makes room for the copy of all mail, which is row 0 of the list: rule N is row N + 1. On the
/// first page the row is added to `items`, on a later one the page begins one rule earlier.
void ShiftByAlwaysCopy(const std::string& always, Filter& filter, Json::Value& items)
{
    if (filter.start != 0) {
        filter.start = OneLess(filter.start);
        return;
    }
    Json::Value item;
    item["type"] = static_cast<int>(BCC_ALWAYS);
    item["bcc_to"] = always;
    items.append(item);
    filter.limit = OneLess(filter.limit);
}

Json::Value ToItem(const BccInfo& rule)
{
    Json::Value item;
    item["type"] = static_cast<int>(rule.type);
    item["name"] = rule.name;
    item["bcc_to"] = rule.bccTo;
    return item;
}

Outcome ListRules(Filter filter, Json::Value& response)
{
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) return Outcome::Fail();

    int total = bcc->getTotalBccNum(filter);
    const std::string always = bcc->getAlwaysBCC();
    Json::Value items(Json::arrayValue);
    if (ShowsAlwaysCopy(always, filter)) {
        ++total;
        ShiftByAlwaysCopy(always, filter, items);
    }
    BOOST_FOREACH (const BccInfo& rule, bcc->getAllBCCList(filter)) items.append(ToItem(rule));
    response["items"] = items;
    response["total"] = total;
    return Outcome::Success();
}

BccInfo WantedRule(const Json::Value& in)
{
    return {in["name"].asString(), in["bccTo"].asString(), TypeOf(in["bccType"])};
}

int AddRule(BCC& bcc, const BccInfo& rule)
{
    return bcc.addBCC(rule.type, rule.name, rule.bccTo);
}

Outcome StoreNewRule(const Json::Value& in)
{
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) return Outcome::SystemError();

    if (!IsValidBccTarget(in["bccTo"].asString())) return Outcome::Fail("bcc", "invalid_name");
    if (AddRule(*bcc, WantedRule(in)) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

Outcome ReplaceRule(const Json::Value& in)
{
    const std::list<BccInfo> original = {{in["orgName"].asString(), "", TypeOf(in["orgBccType"])}};
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) {
        LogError(Here(), "load fail");
        return Outcome::SystemError();
    }

    if (!IsValidBccTarget(in["bccTo"].asString())) return Outcome::Fail("bcc", "invalid_name");
    const BccInfo wanted = WantedRule(in);
    if (bcc->deleteBCC(original) < 0) {
        LogError(Here(), "delete bcc fail");
        return Outcome::SystemError();
    }

    // Deliberate: the old rule stays deleted when the new one is refused; an edit is two steps.
    if (AddRule(*bcc, wanted) < 0) {
        LogError(Here(), "add bcc fail");
        return Outcome::SystemError();
    }

    return Outcome::Success();
}

Outcome RemoveRules(const Json::Value& in)
{
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) {
        LogError(Here(), "load fail");
        return Outcome::Fail();
    }

    const Json::Value& listed = in["deleteList"];
    std::list<BccInfo> rules;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) {
        const Json::Value& rule = listed[i];
        rules.push_back({rule["name"].asString(), rule["bccTo"].asString(), TypeOf(rule["type"])});
    }
    if (bcc->deleteBCC(rules) < 0) return Outcome::SystemError();

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadBcc()
{
    Json::Value response;
    Answer(response, ListRules(ReadListFilter(web_), response));
}

void MailvaneHandler::AddBcc(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreNewRule(in));
}

void MailvaneHandler::EditBcc(Json::Value& in)
{
    Json::Value response;
    Answer(response, ReplaceRule(in));
}

void MailvaneHandler::DeleteBcc(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveRules(in));
}

void MailvaneHandler::ExportBcc()
{
    const auto type = static_cast<BccType>(NumberParameter(web_, "bccType", "0"));
    const std::string path = NewTemporaryFile("/tmp/BccFileXXXXXX");
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) return;

    if (bcc->exportBCC(type, path) < 0) {
        LogError(Here(), "export bcc fail");
        return;
    }

    const char* name = type == BCC_SENDER ? "sender_bcc" : "recipient_bcc";
    if (!SendDownload(path, name)) LogError(Here(), "rule open fail");
}
