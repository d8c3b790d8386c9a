// The lists of rules in etc/mailvane.db: what a name of mail may, where its copies go, whether it
// is black or white. All are stored, searched, paged and changed in the same way.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/filter.h"

namespace host::stores {

/// One rule, of whatever list.
struct Rule {
    int type = 0;       ///< what the name is of: a sender, a recipient, a client
    std::string name;   ///< as it is stored
    int nameType = 0;   ///< kind of the name, in lists that know kinds
    std::string value;  ///< what the rule says; a number in some lists
};
using Rules = std::list<Rule>;

/// What the rule says as a number; that of a text which is none differs from it as a text.
int ValueAsNumber(const Rule& rule);

/// A field that can be searched: its name in a request, and the SQL expression for its text.
struct SearchField {
    const char* name;
    const char* expression;
};

/// What differs from list to list.
struct RuleList {
    std::string_view table;
    std::string_view columns;  ///< of the table, in its order, which is that of the list
    std::string_view key;      ///< those of them that no two rules share
    SearchField fields[2];

    /// A rule in the file format of the list, and back: its line, without the end.
    std::string (*line)(const Rule& rule);
    Result<Rule> (*parse)(const std::string& line, int type);
};

/// A search as SQL.
struct RuleSearch {
    struct Bound {
        const char* parameter;
        std::string text;
    };

    std::string condition = "1";
    std::vector<Bound> bound;  ///< what fills the parameters of the condition
    int start = 0;
    int limit = 0;
};

/// Whether a script makes the table of a list, with these columns in this order.
constexpr bool IsMadeBy(const RuleList& list, std::string_view script)
{
    constexpr std::string_view kCreate = "CREATE TABLE ";
    if (script.substr(kCreate.size(), list.table.size()) != list.table) return false;

    std::size_t at = script.find('(');
    std::string_view columns = list.columns;
    while (!columns.empty() && at != std::string_view::npos) {
        const std::string_view name = columns.substr(0, columns.find(','));
        if (script.substr(at + 1, name.size()) != name) return false;
        columns.remove_prefix(std::min(name.size() + 2, columns.size()));
        at = script.find(", ", at);
        if (at != std::string_view::npos) ++at;
    }
    return script.find(list.key) != std::string_view::npos;
}

/// The condition that a text is in an SQL expression, whose parameters become those of the search.
std::string Contains(RuleSearch& search, const std::string& expression, const std::string& text);

/// The search of a filter. A search in a field that the list lacks finds nothing.
RuleSearch SearchOf(const RuleList& list, const Filter& filter);

/// The number of rules that match a search, and the search's page of them. A negative start means
/// 0, a negative limit no rules. These and the operations below throw SQLite::Exception.
int CountRules(SQLite::Database& store, const RuleList& list, const RuleSearch& search);
Rules PageOfRules(SQLite::Database& store, const RuleList& list, const RuleSearch& search);

using TakeRule = std::function<void(const Rule&)>;

/// Calls `take` for each rule of one type, in stored order.
void EachRule(SQLite::Database& store, const RuleList& list, int type, const TakeRule& take);

/// The same for those of one kind, in a list that knows kinds.
void EachRuleOfKind(SQLite::Database& store, const RuleList& list, int type, NameType kind,
                    const TakeRule& take);

/// The same for addresses and networks, the smallest first.
void EachNetwork(SQLite::Database& store, const RuleList& list, int type, const TakeRule& take);

/// Finds rules of a list that knows kinds.
class RuleFinder {
public:
    RuleFinder(SQLite::Database& store, const RuleList& list);

    /// Whether there is one of its type, name and kind.
    bool Has(const Rule& rule);

private:
    const RuleList& list_;
    SQLite::Statement query_;
};

/// All of them.
Rules ReadRules(SQLite::Database& store, const RuleList& list, int type);

/// Adds a rule, in the caller's transaction. False, with nothing added, when one with its key is
/// stored.
bool AddRule(SQLite::Database& store, const RuleList& list, const Rule& rule);

/// Removes rules by their keys and, where one is given, their value; in the caller's transaction.
void RemoveRules(SQLite::Database& store, const RuleList& list, const Rules& rules);

/// The text of one type in the file format of the list.
std::string RulesText(SQLite::Database& store, const RuleList& list, int type);

/// Adds the rules of a file of that format, in the caller's transaction, whose memory does not grow
/// with the file. Gives their number. A stored rule of the same name is replaced, or refuses the
/// file when it says something else.
Result<int> ImportRules(SQLite::Database& store, const RuleList& list, int type,
                        const std::string& path, bool replaces);

/// A stored rule of a name that is in the way of what `about` says.
Reason InTheWay(const std::string& name, Subject about);

/// Runs a query on the lists in etc/mailvane.db. `what` begins its line in the log.
template <typename Query>
auto AskLists(const char* what, Query query)
{
    auto store = ReadAccountDatabase(AccountDatabase::kMailvane).Prefixed(std::string(what) + ": ");
    const auto run = [&query, &store] { return query(*store); };
    using Answer = decltype(system::Attempt(what, run));
    return store ? system::Attempt(what, run) : Answer(std::move(store).reason());
}

}  // namespace host::stores
