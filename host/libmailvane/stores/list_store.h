// What the lists in etc/mailvane.db share: opening for reading, search, pages.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>
#include <vector>

#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/filter.h"

namespace host::stores {

/// A field that can be searched: its name in a request, and the SQL expression for its text.
struct SearchField {
    const char* name;
    const char* expression;
};

/// The search of a filter as SQL. A search in a field that the list lacks finds nothing.
class Search {
public:
    Search(const Filter& filter, const std::vector<SearchField>& fields);

    /// The condition for a WHERE clause.
    const std::string& condition() const { return condition_; }

    /// Binds the parameter of the condition.
    void Bind(SQLite::Statement& query) const;

private:
    std::string condition_;
    std::string pattern_;  ///< empty when the condition has no parameter
};

/// The end of a query for one page; its parameters are :limit and :start.
constexpr char kOnePage[] = " LIMIT :limit OFFSET :start";

/// Binds the filter's page. A negative start means 0, a negative limit no entries.
void BindPage(SQLite::Statement& query, const Filter& filter);

/// Runs a query on the store of the lists. `what` is the name of the lists.
template <typename Query>
auto ReadLists(const char* what, Query query)
{
    auto store = ReadAccountDatabase(AccountDatabase::kMailvane).Prefixed(std::string(what) + ": ");
    const auto run = [&query, &store] { return query(*store); };
    using Answer = decltype(system::Attempt(what, run));
    return store ? system::Attempt(what, run) : Answer(std::move(store).reason());
}

}  // namespace host::stores
