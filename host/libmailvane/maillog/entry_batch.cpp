// Adding many entries to the mail log's database at once.
#include "host/libmailvane/maillog/entry_batch.h"

namespace host::maillog {
namespace {

// "@" stands for the name of the database.
constexpr char kBegin[] =
    "UPDATE @.tally SET last_counted = (SELECT coalesce(max(id), 0) FROM @.entry)";

constexpr const char* kEnd[] = {
    // Index and tables are written once for all entries; entry by entry takes several times longer.
    R"(INSERT INTO @.entry_text (rowid, message_id, subject, mail_to, mail_from)
    SELECT id, message_id, subject, mail_to, mail_from FROM @.entry
    WHERE id > (SELECT last_counted FROM @.tally))",
    R"(INSERT INTO @.totals
    SELECT date / 900, sum(share = 1), sum(share = 0), sum(share = 2),
        sum((share = 1) * size), sum((share = 0) * size)
    FROM (SELECT date, size, coalesce(counts_as, status) AS share FROM @.entry
        WHERE id > (SELECT last_counted FROM @.tally))
    GROUP BY 1
    ON CONFLICT (period) DO UPDATE SET
        inbound = inbound + excluded.inbound,
        outbound = outbound + excluded.outbound,
        bounce = bounce + excluded.bounce,
        inbound_bytes = inbound_bytes + excluded.inbound_bytes,
        outbound_bytes = outbound_bytes + excluded.outbound_bytes)",
    R"(INSERT INTO @.counts
    SELECT status, date / 3600, count(*) FROM @.entry
    WHERE id > (SELECT last_counted FROM @.tally) GROUP BY 1, 2
    ON CONFLICT (status, hour) DO UPDATE SET entries = entries + excluded.entries)",
    R"(UPDATE @.tally SET last_counted = 9223372036854775807, entries = entries +
    (SELECT count(*) FROM @.entry WHERE id > (SELECT last_counted FROM @.tally)))",
};

std::string In(const std::string& schema, std::string sql)
{
    for (std::size_t at = sql.find('@'); at != std::string::npos; at = sql.find('@', at)) {
        sql.replace(at, 1, schema);
    }
    return sql;
}

void Run(SQLite::Statement& statement)
{
    (void)statement.exec();
    statement.reset();
}

}  // namespace

EntryBatch::EntryBatch(SQLite::Database& database, const std::string& schema)
    : begin_(database, In(schema, kBegin))
{
    for (const char* sql : kEnd) end_.emplace_back(database, In(schema, sql));
}

void EntryBatch::Begin()
{
    Run(begin_);
}

void EntryBatch::End()
{
    for (SQLite::Statement& statement : end_) Run(statement);
}

}  // namespace host::maillog
