// Queries of the mail log: criteria, order and page as SQL.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/mailvane/mail_log.h"

namespace host {

/// An order of entries: one of the columns that have an index, equal values by date and arrival.
class LogOrder {
public:
    /// `field` is "date", "message_id", "mail_from", "mail_to", "size" or "status"; anything else
    /// is "date". `direction` is "asc" in any case; anything else is descending.
    LogOrder(const std::string& field, const std::string& direction);

    /// `ORDER BY` and its terms; `reversed` for the opposite order.
    std::string Sql(bool reversed = false) const;

    bool operator==(const LogOrder& other) const;

private:
    const char* column_;
    bool ascending_;
};

/// What entries a query selects.
class LogCriteria {
public:
    /// All entries.
    LogCriteria() = default;
    /// Those that meet every criterion of `filter`.
    explicit LogCriteria(const LogFilter& filter);
    /// Those with `text` in their Message-ID, subject, recipient or sender.
    explicit LogCriteria(const std::string& text);

    bool SelectsAll() const { return conditions_.empty() && words_.empty(); }
    /// Only texts, all of them long enough for the search index.
    bool IsIndexedText() const { return conditions_.empty() && !words_.empty(); }

    /// The expression for the search index; empty when no text is long enough.
    std::string Match() const;

    /// Whether only the search index knows the upper and lower case of all its texts.
    bool NeedsIndex() const;

    /// `WHERE` and the conditions; with `byIndex` texts are looked up in the search index, else
    /// compared with each entry. Empty when all entries are selected.
    std::string Where(bool byIndex) const;

    /// Binds the values of `Where` from parameter 1 on; the next free one.
    int Bind(SQLite::Statement& statement, bool byIndex) const;

private:
    struct Condition {
        std::string sql;
        std::vector<std::variant<std::int64_t, std::string>> values;
    };
    struct Word {
        std::string columns;  ///< for the search index; empty for every one
        std::string text;
        Condition comparison;
    };

    void AddText(const std::vector<std::string>& columns, const std::string& text);
    void AddNumber(const std::string& sql, std::int64_t value);

    std::vector<Condition> conditions_;
    std::vector<Word> words_;
};

/// Number of entries that are selected. Throws SQLite::Exception.
std::int64_t CountEntries(SQLite::Database& database, const LogCriteria& criteria);

/// The columns that `ReadEntry` takes.
extern const char kEntryColumns[];

/// The entry in the current row of a query of `kEntryColumns`.
MailLogInfo ReadEntry(SQLite::Statement& row);

/// Appends the entries from number `start` on (0 is the first), `limit` at most. Throws
/// SQLite::Exception.
void ReadPage(SQLite::Database& database, const LogCriteria& criteria, const LogOrder& order,
              int start, int limit, std::vector<MailLogInfo>& rows);

}  // namespace host
