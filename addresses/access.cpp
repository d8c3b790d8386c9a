// Access lists: load_access, export_access, apply_access_setting, add_access, edit_access,
// delete_access.
#include <boost/foreach.hpp>
#include <list>
#include <memory>

#include "addresses/list_filter.h"
#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "platform/mailvane/access.h"

namespace {

/// The JSON members that identify an entry; an edit has them twice, for the old and the new one.
struct EntryMembers {
    const char* name;
    const char* type;
    const char* nameType;
};
constexpr EntryMembers kWanted = {"name", "accessType", "nameType"};
constexpr EntryMembers kOriginal = {"orgName", "orgAccessType", "orgNameType"};
constexpr EntryMembers kListed = {"name", "type", "nameType"};

/// Reads what identifies an entry from a request; whether it permits or refuses is left out.
AccessInfo Entry(const Json::Value& in, const EntryMembers& members)
{
    AccessInfo entry;
    entry.name = in[members.name].asString();
    entry.status = static_cast<AccessStatus>(0);
    entry.type = static_cast<Type>(in[members.type].asInt());
    entry.nameType = static_cast<NameType>(in[members.nameType].asInt());
    return entry;
}

/// The list; the caller deletes it. Null, with the failure logged, when it cannot be opened.
Access* GetAccess()
{
    Access* access = Access::getInstance();
    if (access == nullptr) LogError(Here(), "load fail");
    return access;
}

Json::Value ToItem(const AccessInfo& entry)
{
    Json::Value item;
    item["type"] = static_cast<int>(entry.type);
    item["name_type"] = static_cast<int>(entry.nameType);
    item["name"] = entry.name;
    item["status"] = Access::StatusToStr(entry.status);
    return item;
}

Outcome ListEntries(const Filter& filter, Json::Value& response)
{
    const std::unique_ptr<Access> access(GetAccess());
    if (access == nullptr) return Outcome::Fail();

    const int total = access->getTotalAccessNum(filter);
    Json::Value items(Json::arrayValue);
    BOOST_FOREACH (const AccessInfo& entry, access->getAllAccessList(filter)) {
        items.append(ToItem(entry));
    }
    response["items"] = items;
    response["total"] = total;
    return Outcome::Success();
}

/// The entry that a request wants, with its permission in words.
struct WantedEntry {
    explicit WantedEntry(const Json::Value& in)
        : entry(Entry(in, kWanted)), permission(in["permission"].asString())
    {
    }

    AccessInfo entry;
    std::string permission;
};

Outcome AddEntry(Access& access, const WantedEntry& wanted)
{
    const AccessInfo& entry = wanted.entry;
    const AccessStatus status = Access::StrToStatus(wanted.permission.c_str());
    if (access.addAccess(entry.type, entry.nameType, entry.name, status) < 0) {
        LogError(Here(), "add access fail");
        return Outcome::Fail();
    }

    return Outcome::Success();
}

Outcome StoreNewEntry(const Json::Value& in)
{
    const WantedEntry wanted(in);
    Access* access = GetAccess();
    if (access == nullptr) return Outcome::Fail();

    return AddEntry(*access, wanted);
}

Outcome ReplaceEntry(const Json::Value& in)
{
    const std::list<AccessInfo> original = {Entry(in, kOriginal)};
    Access* access = GetAccess();
    if (access == nullptr) return Outcome::Fail();

    const WantedEntry wanted(in);
    if (access->deleteAccess(original) < 0) {
        LogError(Here(), "delete access fail");
        return Outcome::Fail();
    }

    // Deliberate: the old entry stays deleted when the new one is refused; an edit is two steps.
    return AddEntry(*access, wanted);
}

Outcome RemoveEntries(const Json::Value& in)
{
    Access* access = GetAccess();
    if (access == nullptr) return Outcome::Fail();

    const Json::Value& listed = in["deleteList"];
    std::list<AccessInfo> entries;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) {
        entries.push_back(Entry(listed[i], kListed));
    }
    // Deliberate: the client loads the list again and sees what is left.
    (void)access->deleteAccess(entries);
    return Outcome::Success();
}

const char* DownloadName(Type type)
{
    switch (type) {
        case TYPE_SENDER:
            return "sender_access";
        case TYPE_RECIPIENT:
            return "recipient_access";
        default:
            return "client_access";
    }
}

}  // namespace

void MailvaneHandler::LoadAccess()
{
    Json::Value response;
    Answer(response, ListEntries(ReadListFilter(web_), response));
}

void MailvaneHandler::AddAccess(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreNewEntry(in));
}

void MailvaneHandler::EditAccess(Json::Value& in)
{
    Json::Value response;
    Answer(response, ReplaceEntry(in));
}

void MailvaneHandler::DeleteAccess(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveEntries(in));
}

void MailvaneHandler::ExportAccess()
{
    const auto type = static_cast<Type>(NumberParameter(web_, "accessType", "0"));
    const std::string path = NewTemporaryFile("/tmp/accessListXXXXXX");
    Access* access = Access::getInstance();
    if (access == nullptr) return;

    if (access->exportAccess(type, path) < 0) {
        LogError(Here(), "export access fail");
        return;
    }

    if (!SendDownload(path, DownloadName(type))) LogError(Here(), "rule open fail");
}

void MailvaneHandler::ApplyAccessSetting()
{
    Json::Value response;
    if (Access::GenerateAccessMap() < 0) {
        LogError(Here(), "generate access map fail");
        SetError(response, "common", "error_system");
    }
    // Deliberate: the client tells a failure here by errinfo alone.
    SetSuccess(response, true);
    SendResponse(response);
}
