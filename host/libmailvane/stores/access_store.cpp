// The access lists in etc/mailvane.db, table `access`.
#include "host/libmailvane/stores/access_store.h"

#include <SQLiteCpp/VariadicBind.h>

#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::stores {
namespace {

const std::vector<SearchField>& Fields()
{
    static const char status[] =
        "CASE status WHEN 0 THEN 'OK' WHEN 1 THEN 'REJECT' ELSE 'DISCARD' END";
    static const std::vector<SearchField> fields = {{"name", "name"}, {"status", status}};
    return fields;
}

const char kColumns[] = "SELECT type, name, name_type, status FROM access WHERE ";
const char kOrder[] = " ORDER BY type, name, name_type";

AccessInfo EntryOf(SQLite::Statement& row)
{
    AccessInfo entry;
    entry.type = static_cast<Type>(row.getColumn(0).getInt());
    entry.name = row.getColumn(1).getString();
    entry.nameType = static_cast<NameType>(row.getColumn(2).getInt());
    entry.status = static_cast<AccessStatus>(row.getColumn(3).getInt());
    return entry;
}

std::list<AccessInfo> Entries(SQLite::Statement& query)
{
    std::list<AccessInfo> entries;
    while (query.executeStep()) entries.push_back(EntryOf(query));
    return entries;
}

/// Whether a list can have names of this kind. All have domains; only the list of clients has IP
/// addresses and networks, only the others have mail addresses.
bool SuitsList(Type type, NameType kind)
{
    if (kind == NAME_DOMAIN || kind == NAME_DOMAIN_TREE) return true;
    return (kind == NAME_ADDRESS) != (type == TYPE_CLIENT);
}

/// Why an entry cannot be stored; null when it can.
const char* FaultOf(const AccessInfo& entry, bool nameIsGood)
{
    if (entry.type < TYPE_SENDER || entry.type > TYPE_CLIENT) return "there is no such list";
    if (entry.status < ACCESS_OK || entry.status >= ACCESS_UNKNOWN) {
        return "there is no such permission";
    }
    if (!nameIsGood) return "the name is none of its kind";
    const bool suits = SuitsList(entry.type, entry.nameType);
    return suits ? nullptr : "the list does not look at names of this kind";
}

/// Inserts one entry; returns the number of rows added.
int Insert(SQLite::Statement& insert, const AccessInfo& entry)
{
    SQLite::bind(insert, static_cast<int>(entry.type), entry.name, static_cast<int>(entry.nameType),
                 static_cast<int>(entry.status));
    const int inserted = insert.exec();
    insert.reset();
    return inserted;
}

}  // namespace

Result<AccessInfo> MakeStored(AccessInfo entry)
{
    const std::optional<std::string> name = names::StoredName(entry.nameType, entry.name);
    const char* fault = FaultOf(entry, name.has_value());
    if (fault != nullptr) return Reason{ReasonCode::kRefused, entry.name, fault};

    entry.name = *name;
    return entry;
}

std::string AccessLine(const AccessInfo& entry)
{
    return names::NameInText(entry.nameType, entry.name) + " " + Access::StatusToStr(entry.status);
}

Result<AccessInfo> ParseAccessLine(const std::string& line, Type type)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    if (second == std::string::npos) {
        return Reason{ReasonCode::kRefused, line, "is not a name and its permission"};
    }
    AccessInfo entry;
    entry.type = type;
    entry.name = line.substr(0, end);
    entry.nameType = names::KindInText(entry.name);
    entry.status = Access::StrToStatus(line.substr(second).c_str());
    return MakeStored(std::move(entry));
}

int CountAccess(SQLite::Database& store, const Filter& filter)
{
    const Search search(filter, Fields());
    SQLite::Statement query(store, "SELECT count(*) FROM access WHERE " + search.condition());
    search.Bind(query);
    (void)query.executeStep();
    return query.getColumn(0).getInt();
}

std::list<AccessInfo> PageOfAccess(SQLite::Database& store, const Filter& filter)
{
    const Search search(filter, Fields());
    SQLite::Statement query(store, kColumns + search.condition() + kOrder + kOnePage);
    search.Bind(query);
    BindPage(query, filter);
    return Entries(query);
}

std::list<AccessInfo> ReadAccess(SQLite::Database& store, Type type)
{
    SQLite::Statement query(store, std::string(kColumns) + "type = ?" + kOrder);
    query.bind(1, static_cast<int>(type));
    return Entries(query);
}

Result<void> InsertAccess(SQLite::Database& store, const AccessInfo& entry)
{
    SQLite::Statement insert(store, "INSERT OR IGNORE INTO access VALUES (?, ?, ?, ?)");
    if (Insert(insert, entry) > 0) return {};
    return Reason{ReasonCode::kTaken, entry.name, "there is an entry of this name"};
}

void MergeAccess(SQLite::Database& store, const std::list<AccessInfo>& entries)
{
    SQLite::Transaction transaction(store);
    SQLite::Statement insert(store, "INSERT OR REPLACE INTO access VALUES (?, ?, ?, ?)");
    for (const AccessInfo& entry : entries) (void)Insert(insert, entry);
    transaction.commit();
}

void RemoveAccess(SQLite::Database& store, const std::list<AccessInfo>& entries)
{
    SQLite::Transaction transaction(store);
    SQLite::Statement remove(store,
                             "DELETE FROM access WHERE type = ? AND name = ? AND name_type = ?");
    for (const AccessInfo& entry : entries) {
        const std::string name = names::StoredName(entry.nameType, entry.name).value_or(entry.name);
        SQLite::bind(remove, static_cast<int>(entry.type), name, static_cast<int>(entry.nameType));
        (void)remove.exec();
        remove.reset();
    }
    transaction.commit();
}

}  // namespace host::stores
