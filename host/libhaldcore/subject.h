// What a reason is about, and what of that a client may be told.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace host {

/// A word that is compiled in: a literal, or the name in a row of a table. No text that is made at
/// run time can become one, so that a value, which may be secret, cannot get into an answer by it.
class BuiltInWord {
public:
    template <std::size_t size>
    constexpr BuiltInWord(const char (&literal)[size]) : word_(literal, size - 1)
    {
    }
    template <std::size_t size>
    BuiltInWord(char (&)[size]) = delete;

    template <typename Row, typename Name = decltype(Row::name)>
    constexpr BuiltInWord(const Row& row) : word_(row.name)
    {
        static_assert(std::is_same_v<Name, const char*> || std::is_same_v<Name, std::string_view>);
    }

    /// The word in a column of a row of a table.
    template <typename Row>
    constexpr BuiltInWord(const Row& row, const char* Row::*column) : word_(row.*column)
    {
    }

    constexpr std::string_view word() const { return word_; }

private:
    std::string_view word_;
};

/// What a reason is about. A text, as of a file, a user or a value, is told to nobody.
class Subject {
public:
    enum class Kind {
        kUntold,
        kSetting,  ///< a setting, or another member of a request
        kList,     ///< a list, or something else that is stored as a whole
        kLine,     ///< a line of the file that was sent
        kService   ///< a daemon, or what else the mail server depends on
    };

    Subject() = default;
    Subject(std::string text) : text_(std::move(text)) {}
    Subject(const char* text) : text_(text) {}

    static Subject Setting(BuiltInWord name) { return {Kind::kSetting, name.word()}; }
    static Subject List(BuiltInWord name) { return {Kind::kList, name.word()}; }
    static Subject Service(BuiltInWord name) { return {Kind::kService, name.word()}; }
    static Subject Line(int number);

    Kind kind() const { return kind_; }
    bool IsTold() const { return kind_ != Kind::kUntold; }
    int number() const { return number_; }  ///< of a line

    /// The name, or "line 12".
    const std::string& text() const { return text_; }

    bool operator==(const Subject& other) const
    {
        return kind_ == other.kind_ && text_ == other.text_;
    }

private:
    Subject(Kind kind, std::string_view word) : kind_(kind), text_(word) {}

    Kind kind_ = Kind::kUntold;
    std::string text_;
    int number_ = 0;
};

inline Subject Subject::Line(int number)
{
    Subject line(Kind::kLine, "line " + std::to_string(number));
    line.number_ = number;
    return line;
}

}  // namespace host
