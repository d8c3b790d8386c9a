// Queries of the mail log: criteria, order and page as SQL.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/libmailvane/maillog/counts.h"
#include "platform/mailvane/mail_log.h"

namespace host::maillog {

/// A sort order: an indexed column, then date, then order of arrival.
class LogOrder {
public:
    /// `field` is "date", "message_id", "mail_from", "mail_to", "size" or "status"; any other means
    /// "date". `direction` is "asc" in upper or lower case; any other means descending.
    LogOrder(const std::string& field, const std::string& direction);

    /// The ORDER BY clause; with `reversed` for the opposite order.
    std::string Sql(bool reversed = false) const;

    bool operator==(const LogOrder& other) const;

private:
    const char* column_;
    bool ascending_;
};

/// The conditions by which a query selects entries.
class LogCriteria {
public:
    /// Selects all entries.
    LogCriteria() = default;
    /// Selects the entries that meet all criteria of `filter`.
    explicit LogCriteria(const LogFilter& filter);
    /// Selects the entries with `text` in Message-ID, subject, recipient or sender.
    explicit LogCriteria(const std::string& text);

    bool operator==(const LogCriteria& other) const;

    bool SelectsAll() const { return conditions_.empty() && words_.empty(); }
    /// Whether all conditions are texts long enough for the search index.
    bool IsIndexedText() const { return conditions_.empty() && !words_.empty(); }

    /// The status and time, if nothing else is asked for.
    std::optional<LogFrame> AsFrame() const;

    /// The expression for the search index; empty when no text is long enough.
    std::string Match() const;

    /// Whether a text has letters whose case only the search index can ignore, such as "É".
    bool NeedsIndex() const;

    /// How entries with the texts are found: by a list of ids, by the search index, or by comparing
    /// each entry.
    enum class TextsBy { kList, kIndex, kComparison };

    /// The WHERE clause; empty when all entries are selected.
    std::string Where(TextsBy by) const;

    /// Binds the values of `Where` from parameter 1 on; `list` is a JSON array of ids. Returns the
    /// number of the next free parameter.
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
        std::string columns;  ///< for the search index; empty for all columns
        std::string text;
        Condition comparison;

        bool operator==(const Word& other) const { return comparison == other.comparison; }
    };

    void AddText(const std::vector<std::string>& columns, const std::string& text);
    void AddNumber(const std::string& sql, std::int64_t value);

    LogFrame frame_;
    bool isFrame_ = true;  ///< no other conditions
    std::vector<Condition> conditions_;
    std::vector<Word> words_;
};

/// The columns that `ReadEntry` needs, for a SELECT.
extern const char kEntryColumns[];

/// The entry in the current row of a query of `kEntryColumns`.
MailLogInfo ReadEntry(SQLite::Statement& row);

/// The entries that meet criteria. Texts are searched once, for both the page and the number of
/// entries.
class LogSelection {
public:
    /// `database` must outlive the object. Throws SQLite::Exception.
    LogSelection(SQLite::Database& database, LogCriteria criteria);

    /// Whether the selection is for these criteria and the log has not changed since.
    bool IsStill(const LogCriteria& criteria) const;

    /// The number of entries. Throws SQLite::Exception.
    std::int64_t Count() const;

    /// Appends at most `limit` entries from number `start` on; the first is number 0. Throws
    /// SQLite::Exception.
    void ReadPage(const LogOrder& order, int start, int limit,
                  std::vector<MailLogInfo>& rows) const;

private:
    void ListRareEntries();
    std::optional<std::int64_t> KnownCount() const;

    SQLite::Database& database_;
    LogCriteria criteria_;
    int version_;
    bool hasCounts_;
    std::optional<std::string> rare_;  ///< ids of the entries with the texts, if few; a JSON array
    std::int64_t rareCount_ = 0;
};

}  // namespace host::maillog
