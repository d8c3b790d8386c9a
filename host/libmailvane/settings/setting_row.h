// What is known about one setting: a row of the tables in *_rows.h.
//
// Each field has a type of its own, which has no default and refuses what is no proper text: a row
// that lacks a field, or has them in another order, does not compile.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/libmailvane/settings/formats.h"
#include "host/libmailvane/settings/settings_table.h"

namespace host::settings {

/// A text that people read. In a constant expression a bad one is a compile error.
class Title {
public:
    /// A few words, without a full stop.
    constexpr explicit Title(std::string_view words) : text(words)
    {
        if (words.empty() || words.size() > kLongest) throw "a title has 1 to 60 bytes";
        if (words.back() == '.' || words.front() == ' ') throw "a title is no sentence";
    }
    std::string_view text;

private:
    static constexpr std::size_t kLongest = 60;
};

class Sentence {
public:
    /// Whole sentences: they begin with a capital letter and end with a full stop.
    constexpr explicit Sentence(std::string_view words) : text(words)
    {
        if (words.size() < kShortest || words.back() != '.') throw "a sentence ends with a stop";
        if (words.front() < 'A' || words.front() > 'Z') throw "a sentence begins with a capital";
    }
    std::string_view text;

private:
    static constexpr std::size_t kShortest = 15;
};

/// What the setting means.
struct Help : Sentence {
    using Sentence::Sentence;
};

/// What may surprise whoever changes the setting.
struct Warning {
    constexpr explicit Warning(std::string_view words) : text(Sentence(words).text) {}
    static constexpr Warning None() { return Warning(); }
    std::string_view text;  ///< empty for none

private:
    constexpr Warning() = default;
};

/// A value of a setting that has few.
struct Choice {
    const char* value;
    Title title;
};

inline constexpr int kLongestText = 253;  // bytes: what a host name may have

/// What a number counts: a word for programs and one for people.
struct Unit {
    std::string_view name;  ///< empty for none
    std::string_view title;
};
inline constexpr Unit kNoUnit{"", ""};
inline constexpr Unit kMebibytes{"mib", "MiB"};
inline constexpr Unit kPerHour{"per_hour", "an hour"};
inline constexpr Unit kPerMinute{"per_minute", "a minute"};
inline constexpr Unit kPoints{"points", "points"};
inline constexpr Unit kConnections{"connections", "connections"};
inline constexpr Unit kRecipients{"recipients", "recipients"};

/// Type, default and range. The default is in stored spelling.
class Value {
public:
    static constexpr Value Switch(const char* fallback)
    {
        return {SettingType::kBool, fallback, 0, 1, kNoUnit};
    }
    static constexpr Value Port(const char* fallback)
    {
        return {SettingType::kInt, fallback, 1, 65535, kNoUnit};
    }
    static constexpr Value Number(const char* fallback, int lowest, int highest, Unit unit)
    {
        return {SettingType::kInt, fallback, lowest, highest, unit};
    }
    static constexpr Value Text(const char* fallback, int fewest, int most, const Format& format)
    {
        Value value{SettingType::kText, fallback, fewest, most, kNoUnit};
        value.format = &format;
        return value;
    }
    /// A text that no page gets back.
    static constexpr Value Password(int most)
    {
        Value value = Text("", 0, most, kPlainText);
        value.isPassword = true;
        return value;
    }
    template <std::size_t kCount>
    static constexpr Value OneOf(const char* fallback, const Choice (&choices)[kCount])
    {
        static_assert(kCount <= kMostChoices);
        Value value{SettingType::kText, fallback, 0, 0, kNoUnit};
        value.choices = choices;
        value.choiceCount = kCount;
        for (const Choice& choice : choices) {
            const int length = static_cast<int>(std::string_view(choice.value).size());
            if (length > value.highest) value.highest = length;
        }
        return value;
    }

    SettingType type;
    const char* fallback;
    int lowest;
    int highest;
    Unit unit;
    const Format* format = nullptr;
    const Choice* choices = nullptr;
    std::size_t choiceCount = 0;
    bool isPassword = false;

private:
    constexpr Value(SettingType typeOf, const char* fallbackOf, int lowestOf, int highestOf,
                    Unit unitOf)
        : type(typeOf), fallback(fallbackOf), lowest(lowestOf), highest(highestOf), unit(unitOf)
    {
    }
};

/// Where the setting is shown: the page, as `mailvanectl edit` names it, and a group on it. Within
/// a group the order is that of the rows.
class Place {
public:
    constexpr Place(std::string_view pageName, std::string_view groupName, Title groupTitle)
        : page(pageName), group(groupName), title(groupTitle)
    {
    }
    std::string_view page;
    std::string_view group;
    Title title;  ///< of the group
};

/// The setting has no effect unless another one has a value, in stored spelling.
class Needs {
public:
    constexpr Needs(std::string_view otherName, std::string_view otherValue)
        : setting(otherName), value(otherValue)
    {
    }
    static constexpr Needs Nothing() { return {"", ""}; }
    std::string_view setting;  ///< empty for none
    std::string_view value;
};

/// The services that a change starts, stops or restarts, as the table of daemons names them; words
/// separated by one blank.
class Restarts {
public:
    constexpr explicit Restarts(std::string_view names) : services(names)
    {
        if (names.empty()) throw "a change of a setting restarts something";
    }
    std::string_view services;
};

/// The first version that has the setting.
class Since {
public:
    constexpr explicit Since(std::string_view number) : version(number)
    {
        if (number.empty()) throw "each setting came with a version";
    }
    std::string_view version;
};

class Name {
public:
    constexpr explicit Name(const char* word) : text(word)
    {
        if (*word == '\0') throw "a setting has a name";
    }
    const char* text;
};

struct SettingRow {
    SettingsObject object;
    Name name;
    Value value;
    Title title;
    Help help;
    Place place;
    Needs needs;
    Warning warning;
    Restarts restarts;
    Since since;
};

}  // namespace host::settings
