// Adding many entries to the mail log's database at once.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>
#include <vector>

namespace host::maillog {

/// Counts the entries that are inserted between `Begin` and `End`, which have to be in one
/// transaction: in the totals, in the counts, and in the search index. Entries that are inserted
/// otherwise are not counted. What is removed is to be removed before `Begin`: a new entry may get
/// the id of a removed one. All functions throw SQLite::Exception.
class EntryBatch {
public:
    /// `schema` names the database where several are attached. `database` must outlive the object.
    explicit EntryBatch(SQLite::Database& database, const std::string& schema = "main");

    void Begin();
    void End();

private:
    SQLite::Statement begin_;
    std::vector<SQLite::Statement> end_;
};

}  // namespace host::maillog
