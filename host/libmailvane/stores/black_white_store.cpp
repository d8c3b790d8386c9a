// The black and the white list of the spam filter in etc/mailvane.db, table `black_white`.
#include "host/libmailvane/stores/black_white_store.h"

#include <SQLiteCpp/VariadicBind.h>

#include <algorithm>
#include <iterator>

#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::stores {
namespace {

const char kColumns[] = "SELECT type, name, name_type, black_white FROM black_white WHERE ";
const char kOrder[] = " ORDER BY type, name, name_type";
const char kMatches[] =
    "(:list < 0 OR black_white = :list) AND (:type < 0 OR type = :type) AND "
    "name LIKE :pattern ESCAPE '\\'";
const char* const kTypeNames[] = {"sender", "recipient", "client"};

NameType KindOf(const BlackWhite& entry)
{
    return static_cast<NameType>(entry.nameType);
}

bool IsIp(const BlackWhite& entry)
{
    return entry.nameType == NAME_IP || entry.nameType == NAME_NETWORK;
}

std::list<BlackWhite> Entries(SQLite::Statement& query)
{
    std::list<BlackWhite> entries;
    while (query.executeStep()) {
        entries.push_back({query.getColumn(1).getString(), query.getColumn(3).getInt(),
                           query.getColumn(0).getInt(), query.getColumn(2).getInt()});
    }
    return entries;
}

void BindFilter(SQLite::Statement& query, const BlackWhiteFilter& filter)
{
    const bool both = filter.searchType < 0;
    query.bind(":list", both ? -1 : static_cast<int>(ListOf(filter.searchType)));
    query.bind(":type", filter.type);
    query.bind(":pattern", names::LikeAnywhere(filter.searchKey));
}

/// The list (black or white) that has the name of the entry; -1 for none.
int ListOfStored(SQLite::Statement& find, const BlackWhite& entry)
{
    find.reset();
    SQLite::bind(find, entry.type, entry.name, entry.nameType);
    return find.executeStep() ? find.getColumn(0).getInt() : -1;
}

Result<void> MayStand(int stored, const BlackWhite& entry, bool again)
{
    if (stored < 0 || (again && stored == entry.blackWhite)) return {};

    const char* list = stored == BLACK_LIST ? "black" : "white";
    return Reason{ReasonCode::kTaken, entry.name,
                  "'" + entry.name + "' stands on the " + list + " list already"};
}

/// Why an entry cannot be stored; null when it can.
const char* FaultOf(const BlackWhite& entry, bool nameIsGood)
{
    if (entry.type < TYPE_SENDER || entry.type > TYPE_CLIENT) return "there is no such type";
    if (!nameIsGood) return "the name is none of its kind";
    // Clients have IP addresses or networks, senders and recipients mail addresses or domains.
    const bool suits = IsIp(entry) == (entry.type == TYPE_CLIENT);
    return suits ? nullptr : "the type does not go with a name of this kind";
}

}  // namespace

BlackWhiteType ListOf(int blackWhite)
{
    return blackWhite == BLACK_LIST ? BLACK_LIST : WHITE_LIST;
}

Result<BlackWhite> MakeStored(BlackWhite entry)
{
    const std::optional<std::string> name = names::StoredName(KindOf(entry), entry.name);
    const char* fault = FaultOf(entry, name.has_value());
    if (fault != nullptr) return Reason{ReasonCode::kRefused, entry.name, fault};

    entry.name = *name;
    entry.blackWhite = ListOf(entry.blackWhite);
    return entry;
}

std::string BlackWhiteLine(const BlackWhite& entry)
{
    return std::string(kTypeNames[entry.type]) + " " + names::NameInText(KindOf(entry), entry.name);
}

Result<BlackWhite> ParseBlackWhiteLine(const std::string& line, BlackWhiteType list)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    const bool isAlone = second == std::string::npos;
    const auto* type = std::find(std::begin(kTypeNames), std::end(kTypeNames), line.substr(0, end));
    if (isAlone != (type == std::end(kTypeNames))) {
        return Reason{ReasonCode::kRefused, line, "is not sender, recipient or client and a name"};
    }
    BlackWhite entry;
    entry.blackWhite = list;
    entry.name = isAlone ? line : line.substr(second);
    entry.nameType = names::KindInText(entry.name);
    const int typeOfKind = IsIp(entry) ? TYPE_CLIENT : TYPE_SENDER;
    entry.type = isAlone ? typeOfKind : static_cast<int>(type - std::begin(kTypeNames));
    return MakeStored(std::move(entry));
}

int CountBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter)
{
    SQLite::Statement query(store,
                            std::string("SELECT count(*) FROM black_white WHERE ") + kMatches);
    BindFilter(query, filter);
    (void)query.executeStep();
    return query.getColumn(0).getInt();
}

std::list<BlackWhite> PageOfBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter)
{
    SQLite::Statement query(store, std::string(kColumns) + kMatches + kOrder + kOnePage);
    BindFilter(query, filter);
    Filter page;
    page.start = filter.start;
    page.limit = filter.limit;
    BindPage(query, page);
    return Entries(query);
}

std::list<BlackWhite> ReadBlackWhite(SQLite::Database& store, int type)
{
    SQLite::Statement query(store, std::string(kColumns) + "type = ?" + kOrder);
    query.bind(1, type);
    return Entries(query);
}

Result<void> InsertBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries,
                              bool again)
{
    SQLite::Transaction transaction(store);
    SQLite::Statement find(
        store, "SELECT black_white FROM black_white WHERE type = ? AND name = ? AND name_type = ?");
    SQLite::Statement insert(store, "INSERT OR IGNORE INTO black_white VALUES (?, ?, ?, ?)");
    for (const BlackWhite& entry : entries) {
        Result<void> free = MayStand(ListOfStored(find, entry), entry, again);
        if (!free) return free;

        SQLite::bind(insert, entry.type, entry.name, entry.nameType, entry.blackWhite);
        (void)insert.exec();
        insert.reset();
    }
    find.reset();
    transaction.commit();
    return {};
}

void RemoveBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries)
{
    SQLite::Transaction transaction(store);
    SQLite::Statement remove(store,
                             "DELETE FROM black_white WHERE type = ? AND name = ? AND "
                             "name_type = ? AND black_white = ?");
    for (const BlackWhite& entry : entries) {
        const std::string name = names::StoredName(KindOf(entry), entry.name).value_or(entry.name);
        SQLite::bind(remove, entry.type, name, entry.nameType,
                     static_cast<int>(ListOf(entry.blackWhite)));
        (void)remove.exec();
        remove.reset();
    }
    transaction.commit();
}

}  // namespace host::stores
