// The lists of rules in etc/mailvane.db.
#include "host/libmailvane/stores/rule_store.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

#include "host/libmailvane/names/list_text.h"

namespace host::stores {
namespace {

const char kEveryField[] = "all";
const char kPattern[] = ":pattern";
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

Rules RowsOf(SQLite::Statement& query)
{
    Rules rules;
    while (query.executeStep()) {
        rules.push_back({query.getColumn(0).getInt(), query.getColumn(1).getString(),
                         query.getColumn(2).getInt(), query.getColumn(3).getString()});
    }
    return rules;
}

void Bind(SQLite::Statement& query, const RuleSearch& search)
{
    for (const RuleSearch::Bound& bound : search.bound) query.bind(bound.parameter, bound.text);
}

bool IsInTheWay(const Rules& stored, const Rule& rule, Standing standing)
{
    if (stored.empty() || standing == Standing::kReplaced) return false;
    return standing == Standing::kInTheWay || stored.front().value != rule.value;
}

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

    std::string found;
    for (const SearchField& field : list.fields) {
        if (filter.searchType != kEveryField && filter.searchType != field.name) continue;

        found += found.empty() ? "(" : " OR ";
        found.append(field.expression).append(" LIKE ").append(kPattern).append(" ESCAPE '\\'");
    }
    search.condition = found.empty() ? "0" : found + ")";
    if (!found.empty()) search.bound = {{kPattern, names::LikeAnywhere(filter.searchKey)}};
    return search;
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

Rules ReadRules(SQLite::Database& store, const RuleList& list, int type)
{
    SQLite::Statement query(store, Select(list, "type = ?") + InOrder(list));
    query.bind(1, type);
    return RowsOf(query);
}

std::optional<Rule> AddRules(SQLite::Database& store, const RuleList& list, const Rules& rules,
                             Standing standing)
{
    SQLite::Statement find(store, Select(list, IsOfKey(list)));
    SQLite::Statement insert(store, std::string("INSERT OR REPLACE INTO ").append(list.table) +
                                        " VALUES (:type, :name" +
                                        (KnowsKinds(list) ? ", :name_type" : "") + ", :value)");
    for (const Rule& rule : rules) {
        BindKey(find, list, rule);
        const Rules stored = RowsOf(find);
        if (IsInTheWay(stored, rule, standing)) return stored.front();

        BindKey(insert, list, rule);
        insert.bind(":value", rule.value);
        (void)insert.exec();
    }
    find.reset();
    return std::nullopt;
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
    for (const Rule& rule : ReadRules(store, list, type)) text += list.line(rule) + "\n";
    return text;
}

Result<Rules> ReadRulesText(const RuleList& list, int type, const std::string& path)
{
    Rules rules;
    std::map<std::string, std::string> values;  // by the name, with what else is in a key
    Result<void> read = names::ReadListText(path, [&](const std::string& line) -> Result<void> {
        Result<Rule> rule = list.parse(line, type);
        if (!rule) return std::move(rule).reason();

        const std::string key =
            std::to_string(rule->type) + " " + std::to_string(rule->nameType) + " " + rule->name;
        const auto [known, isNew] = values.emplace(key, rule->value);
        if (known->second != rule->value) {
            return Reason{ReasonCode::kTaken, rule->name,
                          "the name stands there, and says something else"};
        }
        if (isNew) rules.push_back(std::move(*rule));
        return {};
    });
    if (!read) return std::move(read).reason();
    return rules;
}

}  // namespace host::stores
