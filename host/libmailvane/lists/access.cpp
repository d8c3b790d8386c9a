// The access lists: who may send, receive, connect. Stored in etc/mailvane.db; in force once their
// maps are rebuilt.
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
const char kRefused[] = "access lists: refused: ";
const char* const kStatusNames[] = {"OK", "REJECT", "DISCARD"};

Result<void> Add(const AccessInfo& entry)
{
    Result<AccessInfo> stored = stores::MakeStored(entry).Prefixed(kRefused);
    if (!stored) return std::move(stored).reason();

    return save::ChangeLists(kWhat, [&stored](SQLite::Database& store) {
        return stores::InsertAccess(store, *stored).Prefixed(kRefused);
    });
}

std::string ExportText(SQLite::Database& store, Type type)
{
    std::string text;
    for (const AccessInfo& entry : stores::ReadAccess(store, type))
        text += stores::AccessLine(entry) + "\n";
    return text;
}

/// Reads the entries of an import file, each name once. Refused for a name with two permissions.
Result<std::list<AccessInfo>> ReadImport(Type type, const std::string& path)
{
    std::list<AccessInfo> entries;
    std::map<std::string, AccessStatus> taken;
    Result<void> read = names::ReadListText(path, [&](const std::string& line) -> Result<void> {
        Result<AccessInfo> entry = stores::ParseAccessLine(line, type);
        if (!entry) return std::move(entry).reason();

        const auto [known, isNew] = taken.emplace(
            stores::AccessLine({entry->name, ACCESS_OK, entry->type, entry->nameType}),
            entry->status);
        if (known->second != entry->status) {
            return Reason{ReasonCode::kTaken, entry->name,
                          "the name stands there with another permission"};
        }
        if (isNew) entries.push_back(*entry);
        return {};
    });
    if (!read) return std::move(read).reason();
    return entries;
}

Result<void> Import(Type type, const std::string& path)
{
    Result<std::list<AccessInfo>> entries = ReadImport(type, path);
    if (!entries) return std::move(entries).reason();

    return save::ChangeLists(
        kWhat, [&entries](SQLite::Database& store) { stores::MergeAccess(store, *entries); });
}

}  // namespace
}  // namespace host::lists

Access::Access() : state_(nullptr) {}

Access::~Access() {}

Access* Access::getInstance()
{
    const host::Result<void> opened =
        host::stores::ReadLists(host::lists::kWhat, [](SQLite::Database& /*store*/) {});
    return host::Succeeded(opened) ? new Access : nullptr;
}

int Access::getTotalAccessNum(const Filter& filter)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::CountAccess(store, filter);
    }));
}

std::list<AccessInfo> Access::getAllAccessList(const Filter& filter)
{
    auto page = host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::PageOfAccess(store, filter);
    });
    return host::Succeeded(page) ? *std::move(page) : std::list<AccessInfo>();
}

int Access::addAccess(Type type, NameType nameType, const std::string& name, AccessStatus status)
{
    return host::Status(host::lists::Add({name, status, type, nameType}));
}

int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    return host::Status(host::save::ChangeLists(
        host::lists::kWhat,
        [&entries](SQLite::Database& store) { host::stores::RemoveAccess(store, entries); }));
}

int Access::exportAccess(Type type, const std::string& path)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::names::WriteExport(path, host::lists::ExportText(store, type));
    }));
}

int Access::importAccess(Type type, const std::string& path)
{
    return host::Status(host::lists::Import(type, path));
}

int Access::GenerateAccessMap()
{
    return host::Status(host::save::RebuildLists({host::render::AccessFiles}));
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
