// The rules of blind carbon copies in etc/mailvane.db, table `bcc`.
#include "host/libmailvane/stores/bcc_store.h"

#include <SQLiteCpp/VariadicBind.h>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::stores {
namespace {

const std::vector<SearchField>& Fields()
{
    static const std::vector<SearchField> fields = {{"name", "name"}, {"bcc_to", "bcc_to"}};
    return fields;
}

const char kColumns[] = "SELECT type, name, bcc_to FROM bcc WHERE ";
const char kOrder[] = " ORDER BY type, name";
const char kByName[] = "type = ? AND name = ?";

std::list<BccInfo> Rules(SQLite::Statement& query)
{
    std::list<BccInfo> rules;
    while (query.executeStep()) {
        rules.push_back({query.getColumn(1).getString(), query.getColumn(2).getString(),
                         static_cast<BccType>(query.getColumn(0).getInt())});
    }
    return rules;
}

bool IsRuleName(const std::string& name)
{
    if (name.empty() || name.front() != '@') return names::IsMailAddress(name);
    return names::IsNameOfKind(NAME_DOMAIN, name.substr(1));
}

/// Inserts one rule; returns the number of rows added.
int Insert(SQLite::Statement& insert, const BccInfo& rule)
{
    SQLite::bind(insert, static_cast<int>(rule.type), rule.name, rule.bccTo);
    const int inserted = insert.exec();
    insert.reset();
    return inserted;
}

}  // namespace

Result<BccInfo> MakeStored(BccInfo rule)
{
    rule.name = InLowerCase(rule.name);
    if (rule.type != BCC_SENDER && rule.type != BCC_RECIPIENT) {
        return Reason{ReasonCode::kRefused, rule.name, "there is no such type of rules"};
    }
    if (!IsRuleName(rule.name)) {
        return Reason{ReasonCode::kRefused, rule.name, "the name is no address, user or @domain"};
    }
    Result<void> target = CheckCopyTarget(rule.bccTo);
    if (!target) return std::move(target).reason();
    return rule;
}

Result<void> CheckCopyTarget(const std::string& address)
{
    if (names::IsMailAddress(address)) return {};
    return Reason{ReasonCode::kRefused, address, "the copy goes to what is no address or user"};
}

int CountBcc(SQLite::Database& store, const Filter& filter)
{
    const Search search(filter, Fields());
    SQLite::Statement query(store, "SELECT count(*) FROM bcc WHERE " + search.condition());
    search.Bind(query);
    (void)query.executeStep();
    return query.getColumn(0).getInt();
}

std::list<BccInfo> PageOfBcc(SQLite::Database& store, const Filter& filter)
{
    const Search search(filter, Fields());
    SQLite::Statement query(store, kColumns + search.condition() + kOrder + kOnePage);
    search.Bind(query);
    BindPage(query, filter);
    return Rules(query);
}

std::list<BccInfo> ReadBcc(SQLite::Database& store, BccType type)
{
    SQLite::Statement query(store, std::string(kColumns) + "type = ?" + kOrder);
    query.bind(1, static_cast<int>(type));
    return Rules(query);
}

std::string BccText(SQLite::Database& store, BccType type)
{
    std::string text;
    for (const BccInfo& rule : ReadBcc(store, type)) text += rule.name + " " + rule.bccTo + "\n";
    return text;
}

Result<void> InsertBcc(SQLite::Database& store, const BccInfo& rule)
{
    SQLite::Statement insert(store, "INSERT OR IGNORE INTO bcc VALUES (?, ?, ?)");
    if (Insert(insert, rule) > 0) return {};
    return Reason{ReasonCode::kTaken, rule.name, "there is a rule of this name"};
}

void MergeBcc(SQLite::Database& store, const std::list<BccInfo>& rules)
{
    SQLite::Transaction transaction(store);
    SQLite::Statement insert(store, "INSERT OR REPLACE INTO bcc VALUES (?, ?, ?)");
    for (const BccInfo& rule : rules) (void)Insert(insert, rule);
    transaction.commit();
}

std::list<BccInfo> RemoveBcc(SQLite::Database& store, const std::list<BccInfo>& rules)
{
    std::list<BccInfo> removed;
    SQLite::Transaction transaction(store);
    SQLite::Statement find(store, std::string(kColumns) + kByName);
    SQLite::Statement remove(store, std::string("DELETE FROM bcc WHERE ") + kByName);
    for (const BccInfo& rule : rules) {
        const std::string name = InLowerCase(rule.name);
        SQLite::bind(find, static_cast<int>(rule.type), name);
        removed.splice(removed.end(), Rules(find));
        find.reset();
        SQLite::bind(remove, static_cast<int>(rule.type), name);
        (void)remove.exec();
        remove.reset();
    }
    transaction.commit();
    return removed;
}

}  // namespace host::stores
