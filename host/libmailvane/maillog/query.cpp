// Queries of the mail log: criteria, order and page as SQL.
#include "host/libmailvane/maillog/query.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/names/list_text.h"

namespace host::maillog {

const char kEntryColumns[] =
    "message_id, subject, recipients, date, size, status, mail_to, mail_from";

namespace {

constexpr const char* kColumns[] = {"date", "message_id", "mail_from", "mail_to", "size", "status"};
constexpr int kIndexedCharacters = 3;  // the search index has groups of three characters
constexpr int kFewestRareEntries = 2000;

struct SizeWord {
    const char* word;
    const char* comparison;
};
constexpr SizeWord kSizeWords[] = {
    {"gt", "size > ?"},      {"greater", "size > ?"}, {"more", "size > ?"}, {">", "size > ?"},
    {"ge", "size >= ?"},     {">=", "size >= ?"},     {"lt", "size < ?"},   {"less", "size < ?"},
    {"smaller", "size < ?"}, {"<", "size < ?"},       {"le", "size <= ?"},  {"<=", "size <= ?"},
    {"eq", "size = ?"},      {"equal", "size = ?"},   {"=", "size = ?"},
};

int Characters(const std::string& text)
{
    return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0U) != 0x80;
    }));
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

void BindValue(SQLite::Statement& statement, int index,
               const std::variant<std::int64_t, std::string>& value)
{
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        statement.bind(index, *number);
    } else {
        statement.bind(index, std::get<std::string>(value));
    }
}

/// A number that changes whenever another connection changes the database.
int DataVersion(SQLite::Database& database)
{
    return database.execAndGet("PRAGMA data_version").getInt();
}

/// A text with fewer matches than this is looked up first, and the matches are then sorted. Entries
/// compared in order until a page is full are fewer the more of them match: the two cost the same
/// where the matches are as many as some times the root of all entries.
int MostRareEntries(std::int64_t all)
{
    constexpr double kTimes = 4;
    return std::max(kFewestRareEntries,
                    static_cast<int>(kTimes * std::sqrt(static_cast<double>(all))));
}

}  // namespace

LogOrder::LogOrder(const std::string& field, const std::string& direction)
    : column_(kColumns[0]), ascending_(strcasecmp(direction.c_str(), "asc") == 0)
{
    for (const char* column : kColumns) {
        if (field == column) column_ = column;
    }
}

std::string LogOrder::Sql(bool reversed) const
{
    const std::string direction = ascending_ != reversed ? "" : " DESC";
    std::string terms = column_ + direction;
    if (column_ != kColumns[0]) terms += std::string(", date") + direction;
    return " ORDER BY " + terms + ", id" + direction;
}

bool LogOrder::operator==(const LogOrder& other) const
{
    return column_ == other.column_ && ascending_ == other.ascending_;
}

LogCriteria::LogCriteria(const LogFilter& filter)
    : frame_{filter.status, filter.dateFrom, filter.dateTo}
{
    AddText({"message_id"}, filter.messageId);
    AddText({"mail_to"}, filter.mailTo);
    AddText({"mail_from"}, filter.mailFrom);
    for (const SizeWord& row : kSizeWords) {
        if (filter.sizeOp == row.word) AddNumber(row.comparison, filter.sizeBytes);
    }
    isFrame_ = SelectsAll();
    if (filter.status != -1) AddNumber("status = ?", filter.status);
    if (filter.dateFrom != 0) AddNumber("date >= ?", filter.dateFrom);
    if (filter.dateTo != 0) AddNumber("date <= ?", filter.dateTo);
}

LogCriteria::LogCriteria(const std::string& text)
{
    AddText({"message_id", "subject", "mail_to", "mail_from"}, text);
    isFrame_ = SelectsAll();
}

std::optional<LogFrame> LogCriteria::AsFrame() const
{
    return isFrame_ ? std::make_optional(frame_) : std::nullopt;
}

void LogCriteria::AddText(const std::vector<std::string>& columns, const std::string& text)
{
    if (text.empty()) return;

    Condition comparison;
    for (const std::string& column : columns) {
        comparison.sql +=
            (comparison.sql.empty() ? "(" : " OR ") + column + R"( LIKE ? ESCAPE '\')";
        comparison.values.emplace_back(names::LikeAnywhere(text));
    }
    comparison.sql += ")";
    // The search index would ignore what follows a NUL.
    const bool indexed =
        Characters(text) >= kIndexedCharacters && text.find('\0') == std::string::npos;
    if (indexed) {
        words_.push_back({columns.size() == 1 ? columns.front() : "", text, comparison});
    } else {
        conditions_.push_back(comparison);
    }
}

void LogCriteria::AddNumber(const std::string& sql, std::int64_t value)
{
    conditions_.push_back({sql, {value}});
}

std::string LogCriteria::Match() const
{
    std::string match;
    for (const Word& word : words_) {
        if (!match.empty()) match += " AND ";
        match += "(" + (word.columns.empty() ? "" : word.columns + " : ") + Quoted(word.text) + ")";
    }
    return match;
}

bool LogCriteria::NeedsIndex() const
{
    return std::any_of(words_.begin(), words_.end(), [](const Word& word) {
        return Characters(word.text) != static_cast<int>(word.text.size());
    });
}

bool LogCriteria::operator==(const LogCriteria& other) const
{
    return conditions_ == other.conditions_ && words_ == other.words_;
}

std::string LogCriteria::Where(TextsBy by) const
{
    std::string where;
    const auto add = [&where](const std::string& sql) {
        where += (where.empty() ? " WHERE " : " AND ") + sql;
    };
    if (by == TextsBy::kComparison) {
        for (const Word& word : words_) add(word.comparison.sql);
    } else if (!words_.empty()) {
        add(by == TextsBy::kList ? "id IN (SELECT value FROM json_each(?))"
                                 : "id IN (SELECT rowid FROM entry_text WHERE entry_text MATCH ?)");
    }
    // The list of ids is short: "+" keeps SQLite from using an index of another column.
    const char* withoutIndex = by == TextsBy::kList ? "+" : "";
    for (const Condition& condition : conditions_) add(withoutIndex + condition.sql);
    return where;
}

int LogCriteria::Bind(SQLite::Statement& statement, TextsBy by, const std::string& list) const
{
    int next = 1;
    const auto bind = [&statement, &next](const Condition& condition) {
        for (const auto& value : condition.values) BindValue(statement, next++, value);
    };
    if (by == TextsBy::kComparison) {
        for (const Word& word : words_) bind(word.comparison);
    } else if (!words_.empty()) {
        statement.bind(next++, by == TextsBy::kList ? list : Match());
    }
    for (const Condition& condition : conditions_) bind(condition);
    return next;
}

MailLogInfo ReadEntry(SQLite::Statement& row)
{
    MailLogInfo entry;
    entry.messageId = row.getColumn(0).getString();
    entry.subject = row.getColumn(1).getString();
    entry.recipients = row.getColumn(2).getInt();
    const auto date = static_cast<std::time_t>(row.getColumn(3).getInt64());
    (void)localtime_r(&date, &entry.time);
    entry.sizeBytes = row.getColumn(4).getUInt();
    entry.status = row.getColumn(5).getInt();
    entry.mailTo = row.getColumn(6).getString();
    entry.mailFrom = row.getColumn(7).getString();
    return entry;
}

LogSelection::LogSelection(SQLite::Database& database, LogCriteria criteria)
    : database_(database),
      criteria_(std::move(criteria)),
      version_(DataVersion(database)),
      hasCounts_(database.execAndGet("PRAGMA user_version").getInt() >= kVersionWithCounts)
{
    ListRareEntries();
}

void LogSelection::ListRareEntries()
{
    const std::string match = criteria_.Match();
    if (match.empty()) return;

    const int most = MostRareEntries(database_.execAndGet("SELECT entries FROM tally").getInt64());
    SQLite::Statement query(database_,
                            "SELECT rowid FROM entry_text WHERE entry_text MATCH ? LIMIT ?");
    query.bind(1, match);
    query.bind(2, most);
    std::string list;
    for (rareCount_ = 0; query.executeStep(); ++rareCount_) {
        list += (rareCount_ == 0 ? "" : ",") + std::to_string(query.getColumn(0).getInt64());
    }
    if (rareCount_ < most) rare_ = "[" + list + "]";
}

bool LogSelection::IsStill(const LogCriteria& criteria) const
{
    return criteria_ == criteria && version_ == DataVersion(database_);
}

/// The number of entries where that is known without looking at each.
std::optional<std::int64_t> LogSelection::KnownCount() const
{
    if (criteria_.SelectsAll()) {
        return database_.execAndGet("SELECT entries FROM tally").getInt64();
    }
    const std::optional<LogFrame> frame = criteria_.AsFrame();
    if (!frame || !hasCounts_) return std::nullopt;
    return CountIn(database_, *frame);
}

std::int64_t LogSelection::Count() const
{
    using TextsBy = LogCriteria::TextsBy;
    if (const auto known = KnownCount()) return *known;
    if (rare_ && criteria_.IsIndexedText()) return rareCount_;

    const TextsBy by = rare_ ? TextsBy::kList : TextsBy::kIndex;
    SQLite::Statement count(database_,
                            criteria_.IsIndexedText()
                                ? "SELECT count(*) FROM entry_text WHERE entry_text MATCH ?"
                                : "SELECT count(*) FROM entry" + criteria_.Where(by));
    (void)criteria_.Bind(count, by, rare_.value_or(""));
    count.executeStep();
    return count.getColumn(0).getInt64();
}

void LogSelection::ReadPage(const LogOrder& order, int start, int limit,
                            std::vector<MailLogInfo>& rows) const
{
    using TextsBy = LogCriteria::TextsBy;
    if (limit <= 0) return;

    std::int64_t first = std::max(start, 0);
    std::int64_t length = limit;
    // In the second half of a list whose length is known, the page is read from the end.
    const std::optional<std::int64_t> all = first > 0 ? KnownCount() : std::nullopt;
    const bool fromEnd = all && first > *all / 2;
    if (fromEnd) {
        const std::int64_t end = std::min(first + length, *all);
        length = std::max<std::int64_t>(end - first, 0);
        first = *all - end;
    }

    // The inner query sorts ids by an index alone; entries are read just for the page. Common texts
    // are compared entry by entry in that order, since a page is soon full.
    const TextsBy many = criteria_.NeedsIndex() ? TextsBy::kIndex : TextsBy::kComparison;
    const TextsBy by = rare_ ? TextsBy::kList : many;
    SQLite::Statement page(database_, std::string("SELECT ") + kEntryColumns +
                                          " FROM entry WHERE id IN (SELECT id FROM entry" +
                                          criteria_.Where(by) + order.Sql(fromEnd) +
                                          " LIMIT ? OFFSET ?)" + order.Sql());
    const int next = criteria_.Bind(page, by, rare_.value_or(""));
    page.bind(next, length);
    page.bind(next + 1, first);
    while (page.executeStep()) rows.push_back(ReadEntry(page));
}

}  // namespace host::maillog
