// The access lists: who may send, receive, connect. They lie in etc/mailvane.db; the mail server
// follows them once their maps are made.
#include "platform/mailvane/access.h"

#include <strings.h>

#include <map>

#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/render/access_maps.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::lists {
namespace {

const char kWhat[] = "access lists";
const char* const kStatusNames[] = {"OK", "REJECT", "DISCARD"};

int Add(AccessInfo entry)
{
    std::string fault;
    if (!stores::MakeStored(entry, fault)) {
        Log(LOG_ERR, "access lists: refused: %s", fault.c_str());
        return -1;
    }
    return save::ChangeLists(kWhat, [&entry](SQLite::Database& store) {
        if (stores::InsertAccess(store, entry)) return 0;

        Log(LOG_ERR, "access lists: refused: there is an entry of this name");
        return -1;
    });
}

std::string ExportText(Type type)
{
    std::string text;
    std::optional<SQLite::Database> store = stores::OpenListStore();
    if (!store) return text;

    for (const AccessInfo& entry : stores::ReadAccess(*store, type))
        text += stores::AccessLine(entry) + "\n";
    return text;
}

/// The entries of a file, each name once. False, logged, when a line is refused.
bool ReadImport(Type type, const std::string& path, std::list<AccessInfo>& entries)
{
    std::map<std::string, AccessStatus> taken;
    return names::ReadListText(path, [&](const std::string& line) -> std::string {
        AccessInfo entry;
        std::string fault;
        if (!stores::ParseAccessLine(line, type, entry)) return "is not a name and its permission";
        if (!stores::MakeStored(entry, fault)) return fault;

        const auto [known, isNew] = taken.emplace(
            stores::AccessLine({entry.name, ACCESS_OK, entry.type, entry.nameType}), entry.status);
        if (known->second != entry.status) return "the name stands there with another permission";
        if (isNew) entries.push_back(entry);
        return "";
    });
}

}  // namespace
}  // namespace host::lists

Access::Access() : state_(nullptr) {}

Access::~Access() {}

Access* Access::getInstance()
{
    const int result = host::system::WithoutExceptions(host::lists::kWhat, [] {
        (void)host::stores::OpenListStore();
        return 0;
    });
    return result < 0 ? nullptr : new Access;
}

int Access::getTotalAccessNum(const Filter& filter)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [&filter] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        return store ? host::stores::CountAccess(*store, filter) : 0;
    });
}

std::list<AccessInfo> Access::getAllAccessList(const Filter& filter)
{
    std::list<AccessInfo> entries;
    (void)host::system::WithoutExceptions(host::lists::kWhat, [&filter, &entries] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        if (store) entries = host::stores::PageOfAccess(*store, filter);
        return 0;
    });
    return entries;
}

int Access::addAccess(Type type, NameType nameType, const std::string& name, AccessStatus status)
{
    return host::lists::Add({name, status, type, nameType});
}

int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    return host::save::ChangeLists(host::lists::kWhat, [&entries](SQLite::Database& store) {
        host::stores::RemoveAccess(store, entries);
        return 0;
    });
}

int Access::exportAccess(Type type, const std::string& path)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [&] {
        return host::names::WriteExport(path, host::lists::ExportText(type));
    });
}

int Access::importAccess(Type type, const std::string& path)
{
    std::list<AccessInfo> entries;
    if (!host::lists::ReadImport(type, path, entries)) return -1;

    return host::save::ChangeLists(host::lists::kWhat, [&entries](SQLite::Database& store) {
        host::stores::ReplaceAccess(store, entries);
        return 0;
    });
}

int Access::GenerateAccessMap()
{
    return host::save::RebuildLists({host::render::AccessFiles});
}

AccessStatus Access::StrToStatus(const char* text)
{
    for (int status = ACCESS_OK; status < ACCESS_UNKNOWN; ++status) {
        if (strcasecmp(text, host::lists::kStatusNames[status]) == 0) {
            return static_cast<AccessStatus>(status);
        }
    }
    return ACCESS_UNKNOWN;
}

std::string Access::StatusToStr(AccessStatus status)
{
    const bool known = status >= ACCESS_OK && status < ACCESS_UNKNOWN;
    return known ? host::lists::kStatusNames[status] : "";
}
