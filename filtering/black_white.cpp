// Black and white list of the spam filter: load_spam_blackwhite, export_spam_blackwhite,
// apply_spam_blackwhite, add_spam_blackwhite_list, edit_spam_blackwhite_list,
// delete_spam_blackwhite_list.
#include <unistd.h>

#include <boost/foreach.hpp>
#include <list>

#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/spam.h"

namespace {

/// The JSON members that identify an entry; an edit has them twice, for the old and the new one.
struct EntryMembers {
    const char* name;
    const char* blackWhite;
    const char* type;
    const char* nameType;
};
constexpr EntryMembers kWanted = {"name", "blackWhite", "type", "nameType"};
constexpr EntryMembers kOriginal = {"orgName", "orgBlackWhite", "orgType", "orgNameType"};

BlackWhite Entry(const Json::Value& in, const EntryMembers& members)
{
    return {in[members.name].asString(), in[members.blackWhite].asInt(), in[members.type].asInt(),
            in[members.nameType].asInt()};
}

BlackWhiteFilter ReadFilter(WebMan& web)
{
    BlackWhiteFilter filter;
    filter.start = static_cast<int>(NumberParameter(web, "start", "0"));
    filter.limit = static_cast<int>(NumberParameter(web, "limit", "50"));
    filter.searchType = static_cast<int>(NumberParameter(web, "search_type", "-1"));
    filter.searchKey = web.In("search_key", "");
    return filter;
}

Json::Value ToItem(const BlackWhite& entry)
{
    Json::Value item;
    item["type"] = entry.type;
    item["name_type"] = entry.nameType;
    item["name"] = entry.name;
    item["black_white"] = entry.blackWhite;
    return item;
}

Outcome ListEntries(WebMan& web, Json::Value& response)
{
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    const BlackWhiteFilter filter = ReadFilter(web);
    Json::Value items(Json::arrayValue);
    BOOST_FOREACH (const BlackWhite& entry, spam->getBlackWhiteList(filter)) {
        items.append(ToItem(entry));
    }
    response["items"] = items;
    response["total"] = spam->countQueryData(filter);
    return Outcome::Success();
}

Outcome StoreNewEntry(const Json::Value& in)
{
    const BlackWhite entry = Entry(in, kWanted);
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    if (spam->addBlackWhite(entry) < 0) {
        LogError(Here(), "add black white fail");
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

// Deliberate: an edit is a deletion and an addition, and the old entry stays deleted when the new
// one is refused; its failures have no message, the client loads the list again.
Outcome ReplaceEntry(const Json::Value& in)
{
    const BlackWhite original = Entry(in, kOriginal);
    const BlackWhite wanted = Entry(in, kWanted);
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) {
        LogError(Here(), "load fail");
        return Outcome::Fail();
    }

    if (spam->deleteBlackWhite(original) < 0) {
        LogError(Here(), "delete black white fail");
        return Outcome::Fail();
    }

    if (spam->addBlackWhite(wanted) < 0) {
        LogError(Here(), "add black white fail");
        return Outcome::Fail();
    }
    return Outcome::Success();
}

Outcome RemoveEntries(const Json::Value& in)
{
    const Json::Value& listed = in["deleteList"];
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return Outcome::SystemError();

    std::list<BlackWhite> entries;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) {
        entries.push_back(Entry(listed[i], kWanted));
    }
    if (spam->deleteBlackWhiteList(entries) < 0) {
        LogError(Here(), "delete black white fail");
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

Outcome Apply()
{
    if (Spam::GenerateBlackWhite() < 0) {
        LogError(Here(), "generate spam black white fail");
        return Outcome::SystemError();
    }

    if (MailScanner::Service("restart") < 0) {
        LogError(Here(), "mail scanner service restart fail");
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

/// Sends one list as a download, by way of a temporary file at `path`. On failure sends nothing.
void SendList(BlackWhiteType type, const std::string& path)
{
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return;

    if (spam->exportBlackWhite(type, path) < 0) {
        LogError(Here(), "export black white fail");
        return;
    }

    const char* name = type == BLACK_LIST ? "spam.blacklist.rule" : "spam.whitelist.rule";
    if (!SendDownload(path, name)) LogError(Here(), "rule open fail");
}

}  // namespace

void MailvaneHandler::LoadSpamBlackwhite()
{
    Json::Value response;
    Answer(response, ListEntries(web_, response));
}

void MailvaneHandler::AddSpamBlackwhiteList(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreNewEntry(in));
}

void MailvaneHandler::EditSpamBlackwhiteList(Json::Value& in)
{
    Json::Value response;
    Answer(response, ReplaceEntry(in));
}

void MailvaneHandler::DeleteSpamBlackwhiteList(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveEntries(in));
}

void MailvaneHandler::ExportSpamBlackwhite()
{
    const auto type = static_cast<BlackWhiteType>(NumberParameter(web_, "blackWhite", "0"));
    const std::string path = NewTemporaryFile("/tmp/spam.blackwhite.XXXXXX");
    SendList(type, path);
    (void)unlink(path.c_str());
}

void MailvaneHandler::ApplySpamBlackwhite()
{
    Json::Value response;
    Answer(response, Apply());
}
