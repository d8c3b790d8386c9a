// Queries of the mail log: criteria, order and page as SQL.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/mailvane/mail_log.h"

namespace host::maillog {

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

    bool operator==(const LogCriteria& other) const;

    bool SelectsAll() const { return conditions_.empty() && words_.empty(); }
    /// Only texts, all of them long enough for the search index.
    bool IsIndexedText() const { return conditions_.empty() && !words_.empty(); }

    /// The expression for the search index; empty when no text is long enough.
    std::string Match() const;

    /// Whether only the search index knows the upper and lower case of all its texts.
    bool NeedsIndex() const;

    /// How entries with the texts are found: on a list of ids, in the search index, or by comparing
    /// each one.
    enum class TextsBy { kList, kIndex, kComparison };

    /// `WHERE` and the conditions. Empty when all entries are selected.
    std::string Where(TextsBy by) const;

    /// Binds the values of `Where` from parameter 1 on, `list` being a JSON array of ids; the next
    /// free one.
    int Bind(SQLite::Statement& statement, TextsBy by, const std::string& list) const;

private:
    struct Condition {
        std::string sql;
        std::vector<std::variant<std::int64_t, std::string>> values;

        bool operator==(const Condition& other) const
        {
            return sql == other.sql && values == other.values;
        }
    };
    struct Word {
        std::string columns;  ///< for the search index; empty for every one
        std::string text;
        Condition comparison;

        bool operator==(const Word& other) const { return comparison == other.comparison; }
    };

    void AddText(const std::vector<std::string>& columns, const std::string& text);
    void AddNumber(const std::string& sql, std::int64_t value);

    std::vector<Condition> conditions_;
    std::vector<Word> words_;
};

/// The columns that `ReadEntry` takes.
extern const char kEntryColumns[];

/// The entry in the current row of a query of `kEntryColumns`.
MailLogInfo ReadEntry(SQLite::Statement& row);

/// The entries that meet criteria. Looks texts up once, for the page and for the number.
class LogSelection {
public:
    /// `database` has to outlive this. Throws SQLite::Exception.
    LogSelection(SQLite::Database& database, LogCriteria criteria);

    /// Whether it is of these criteria and the log is as it was.
    bool IsStill(const LogCriteria& criteria) const;

    /// Number of the entries. Throws SQLite::Exception.
    std::int64_t Count() const;

    /// Appends the entries from number `start` on (0 is the first), `limit` at most. Throws
    /// SQLite::Exception.
    void ReadPage(const LogOrder& order, int start, int limit,
                  std::vector<MailLogInfo>& rows) const;

private:
    void ListRareEntries();

    SQLite::Database& database_;
    LogCriteria criteria_;
    int version_;
    std::optional<std::string> rare_;  ///< ids of the entries with the texts, when they are few
    std::int64_t rareCount_ = 0;
};

}  // namespace host::maillog
