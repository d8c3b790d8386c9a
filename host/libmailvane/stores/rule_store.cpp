// The lists of rules in etc/mailvane.db.
#include "host/libmailvane/stores/rule_store.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/list_text.h"

namespace host::stores {
namespace {

const char kEveryField[] = "all";
constexpr std::string_view kNameType = "name_type";

bool KnowsKinds(const RuleList& list)
{
    return list.columns.find(kNameType) != std::string_view::npos;
}

/// The last column: what a rule says.
std::string ValueColumn(const RuleList& list)
{
    return std::string(list.columns.substr(list.columns.rfind(' ') + 1));
}

std::string Select(const RuleList& list, const std::string& condition)
{
    std::string text = "SELECT type, name, ";
    text.append(KnowsKinds(list) ? kNameType : "0").append(", ").append(ValueColumn(list));
    return text.append(" FROM ").append(list.table).append(" WHERE ").append(condition);
}

std::string InOrder(const RuleList& list)
{
    return std::string(" ORDER BY ").append(list.key);
}

/// A condition that one rule meets, whose parameters `BindKey` fills.
std::string IsOfKey(const RuleList& list)
{
    return std::string("type = :type AND name = :name") +
           (KnowsKinds(list) ? " AND name_type = :name_type" : "");
}

void BindKey(SQLite::Statement& statement, const RuleList& list, const Rule& rule)
{
    statement.reset();
    statement.bind(":type", rule.type);
    statement.bind(":name", rule.name);
    if (KnowsKinds(list)) statement.bind(":name_type", rule.nameType);
}

Rule RowOf(SQLite::Statement& query)
{
    return {query.getColumn(0).getInt(), query.getColumn(1).getString(),
            query.getColumn(2).getInt(), query.getColumn(3).getString()};
}

Rules RowsOf(SQLite::Statement& query)
{
    Rules rules;
    while (query.executeStep()) rules.push_back(RowOf(query));
    return rules;
}

void Bind(SQLite::Statement& query, const RuleSearch& search)
{
    for (const RuleSearch::Bound& bound : search.bound) query.bind(bound.parameter, bound.text);
}

/// The rules of a file on their way into the store: a table in a temporary file, by which one of
/// them is found again, and which gives them in the order of the store.
class IncomingRules {
public:
    explicit IncomingRules(SQLite::Database& store) : store_(store)
    {
        store_.exec(
            "PRAGMA temp.cache_size = -8192;"  // KiB
            "CREATE TEMP TABLE incoming (type INTEGER, name TEXT, name_type INTEGER, value TEXT, "
            "PRIMARY KEY (type, name, name_type)) WITHOUT ROWID");
        insert_.emplace(store_, "INSERT OR IGNORE INTO incoming VALUES (?, ?, ?, ?)");
        find_.emplace(store_,
                      "SELECT value FROM incoming WHERE type = ? AND name = ? AND name_type = ?");
    }

    Result<void> Add(const Rule& rule)
    {
        Bind(*insert_, rule);
        insert_->bind(4, rule.value);
        if (insert_->exec() > 0) return {};

        Bind(*find_, rule);
        const bool isRepeated =
            find_->executeStep() && find_->getColumn(0).getString() == rule.value;
        find_->reset();
        if (isRepeated) return {};
        return Reason{ReasonCode::kGivenTwice, rule.name,
                      "the name stands there, and says something else"};
    }

    /// A stored rule of the same name that says something else; nothing when there is none.
    std::optional<std::string> Contradicted(const RuleList& list)
    {
        SQLite::Statement stands(store_, "SELECT name FROM incoming JOIN " +
                                             std::string(list.table) + " AS stored USING (" +
                                             Key(list) + ") WHERE CAST(stored." +
                                             ValueColumn(list) + " AS TEXT) <> value LIMIT 1");
        if (!stands.executeStep()) return std::nullopt;
        return stands.getColumn(0).getString();
    }

    /// Adds all to the rules of a list, in the place of those with their names; gives their number.
    int MoveInto(const RuleList& list)
    {
        return store_.exec("INSERT OR REPLACE INTO " + std::string(list.table) + " SELECT " +
                           Key(list) + ", value FROM incoming ORDER BY type, name, name_type");
    }

private:
    /// The columns that no two rules share.
    static std::string Key(const RuleList& list)
    {
        return std::string("type, name") + (KnowsKinds(list) ? ", name_type" : "");
    }

    static void Bind(SQLite::Statement& statement, const Rule& rule)
    {
        statement.reset();
        statement.bind(1, rule.type);
        statement.bind(2, rule.name);
        statement.bind(3, rule.nameType);
    }

    SQLite::Database& store_;
    std::optional<SQLite::Statement> insert_;
    std::optional<SQLite::Statement> find_;
};

}  // namespace

int ValueAsNumber(const Rule& rule)
{
    return static_cast<int>(std::strtol(rule.value.c_str(), nullptr, 10));
}

RuleSearch SearchOf(const RuleList& list, const Filter& filter)
{
    RuleSearch search;
    search.start = filter.start;
    search.limit = filter.limit;
    if (filter.searchKey.empty()) return search;

    search.condition = "0";
    for (const SearchField& field : list.fields) {
        if (filter.searchType != kEveryField && filter.searchType != field.name) continue;
        search.condition += " OR " + Contains(search, field.expression, filter.searchKey);
    }
    return search;
}

std::string Contains(RuleSearch& search, const std::string& expression, const std::string& text)
{
    std::string found;
    std::vector<RuleSearch::Bound> bound;
    for (std::string& pattern : names::SearchPatterns(text)) {
        const char* const parameter = bound.empty() ? ":pattern" : ":stored_pattern";
        found.append(found.empty() ? "(" : " OR ").append(expression);
        found.append(" LIKE ").append(parameter).append(" ESCAPE '\\'");
        bound.push_back({parameter, std::move(pattern)});
    }
    search.bound = std::move(bound);
    return found + ")";
}

int CountRules(SQLite::Database& store, const RuleList& list, const RuleSearch& search)
{
    SQLite::Statement query(store, std::string("SELECT count(*) FROM ")
                                       .append(list.table)
                                       .append(" WHERE ")
                                       .append(search.condition));
    Bind(query, search);
    (void)query.executeStep();
    return query.getColumn(0).getInt();
}

Rules PageOfRules(SQLite::Database& store, const RuleList& list, const RuleSearch& search)
{
    SQLite::Statement query(
        store, Select(list, search.condition) + InOrder(list) + " LIMIT :limit OFFSET :start");
    Bind(query, search);
    // For SQLite a negative limit means no limit; here it means no rules.
    query.bind(":limit", std::max(search.limit, 0));
    query.bind(":start", std::max(search.start, 0));
    return RowsOf(query);
}

void EachRule(SQLite::Database& store, const RuleList& list, int type, const TakeRule& take)
{
    SQLite::Statement query(store, Select(list, "type = ?") + InOrder(list));
    query.bind(1, type);
    while (query.executeStep()) take(RowOf(query));
}

void EachRuleOfKind(SQLite::Database& store, const RuleList& list, int type, NameType kind,
                    const TakeRule& take)
{
    SQLite::Statement query(store, Select(list, "type = ? AND name_type = ?") + InOrder(list));
    query.bind(1, type);
    query.bind(2, kind);
    while (query.executeStep()) take(RowOf(query));
}

void EachNetwork(SQLite::Database& store, const RuleList& list, int type, const TakeRule& take)
{
    const std::string prefix =
        "CASE WHEN instr(name, '/') THEN CAST(substr(name, instr(name, '/') + 1) AS INTEGER) "
        "WHEN instr(name, ':') THEN 128 ELSE 32 END";
    SQLite::Statement query(store, Select(list, "type = ? AND name_type IN (?, ?)") + " ORDER BY " +
                                       prefix + " DESC, " + std::string(list.key));
    query.bind(1, type);
    query.bind(2, NAME_IP);
    query.bind(3, NAME_NETWORK);
    while (query.executeStep()) take(RowOf(query));
}

RuleFinder::RuleFinder(SQLite::Database& store, const RuleList& list)
    : list_(list), query_(store, Select(list, IsOfKey(list)))
{
}

bool RuleFinder::Has(const Rule& rule)
{
    BindKey(query_, list_, rule);
    return query_.executeStep();
}

Rules ReadRules(SQLite::Database& store, const RuleList& list, int type)
{
    Rules rules;
    EachRule(store, list, type, [&rules](const Rule& rule) { rules.push_back(rule); });
    return rules;
}

bool AddRule(SQLite::Database& store, const RuleList& list, const Rule& rule)
{
    SQLite::Statement insert(store, std::string("INSERT OR IGNORE INTO ").append(list.table) +
                                        " VALUES (:type, :name" +
                                        (KnowsKinds(list) ? ", :name_type" : "") + ", :value)");
    BindKey(insert, list, rule);
    insert.bind(":value", rule.value);
    return insert.exec() > 0;
}

void RemoveRules(SQLite::Database& store, const RuleList& list, const Rules& rules)
{
    SQLite::Statement remove(store, std::string("DELETE FROM ").append(list.table) + " WHERE " +
                                        IsOfKey(list) + " AND (:value = '' OR " +
                                        ValueColumn(list) + " = :value)");
    for (const Rule& rule : rules) {
        BindKey(remove, list, rule);
        remove.bind(":value", rule.value);
        (void)remove.exec();
    }
}

std::string RulesText(SQLite::Database& store, const RuleList& list, int type)
{
    std::string text;
    EachRule(store, list, type,
             [&](const Rule& rule) { text.append(list.line(rule)).append("\n"); });
    return text;
}

Reason InTheWay(const std::string& name, Subject about)
{
    return {ReasonCode::kTaken, std::move(about), "'" + name + "' stands on the list already"};
}

Result<int> ImportRules(SQLite::Database& store, const RuleList& list, int type,
                        const std::string& path, bool replaces)
{
    IncomingRules incoming(store);
    Result<void> read = names::ReadListText(path, [&](const std::string& line) -> Result<void> {
        Result<Rule> rule = list.parse(line, type);
        return rule ? incoming.Add(*rule) : std::move(rule).reason();
    });
    if (!read) return std::move(read).reason();
    if (!replaces) {
        if (const auto name = incoming.Contradicted(list)) return InTheWay(*name, "list to import");
    }
    return incoming.MoveInto(list);
}

}  // namespace host::stores
