// What the lists in etc/mailvane.db share.
#include "host/libmailvane/stores/list_store.h"

#include <algorithm>

#include "host/libmailvane/names/list_text.h"

namespace host::stores {
namespace {

const char kEveryField[] = "all";
const char kPattern[] = ":pattern";

}  // namespace

Search::Search(const Filter& filter, const std::vector<SearchField>& fields)
{
    if (filter.searchKey.empty()) {
        condition_ = "1";
        return;
    }
    for (const SearchField& field : fields) {
        if (filter.searchType != kEveryField && filter.searchType != field.name) continue;

        condition_ += condition_.empty() ? "(" : " OR ";
        condition_.append(field.expression).append(" LIKE ").append(kPattern);
        condition_ += " ESCAPE '\\'";
    }
    if (condition_.empty()) {
        condition_ = "0";
        return;
    }
    condition_ += ")";
    pattern_ = names::LikeAnywhere(filter.searchKey);
}

void Search::Bind(SQLite::Statement& query) const
{
    if (!pattern_.empty()) query.bind(kPattern, pattern_);
}

void BindPage(SQLite::Statement& query, const Filter& filter)
{
    // For SQLite a negative limit means no limit; here it means no entries.
    query.bind(":limit", std::max(filter.limit, 0));
    query.bind(":start", std::max(filter.start, 0));
}

}  // namespace host::stores
