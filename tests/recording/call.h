// Noting a call of the platform: the journal line and the scripted result.
#pragma once

#include <list>
#include <string>
#include <type_traits>

#include "tests/recording/world.h"

namespace recording {

/// An argument in a journal line: texts as they are, in quotes when they are empty or hold a blank;
/// "null"; the name of a temporary file as its template.
std::string Word(const char* text);
std::string Word(const std::string& text);
std::string Word(const std::list<std::string>& texts);

/// An argument that is in words already.
struct Words {
    std::string text;
};
inline const std::string& Word(const Words& words)
{
    return words.text;
}

template <typename Number,
          typename = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
std::string Word(Number number)
{
    if constexpr (std::is_same_v<Number, bool>) {
        return number ? "true" : "false";
    } else if constexpr (std::is_enum_v<Number>) {
        return std::to_string(static_cast<long long>(number));
    } else {
        return std::to_string(number);
    }
}

template <typename... Arguments>
std::string Line(const char* operation, const Arguments&... arguments)
{
    std::string line = operation;
    ((line += ' ' + Word(arguments)), ...);
    return line;
}

/// The elements of a list, each as `describe` tells it, in brackets.
template <typename List, typename Describe>
Words ListWords(const List& list, const Describe& describe)
{
    std::string words;
    for (const auto& element : list) words += (words.empty() ? "" : ", ") + describe(element);
    return {"[" + words + "]"};
}

/// Notes a call and gives its scripted result; `otherwise` without a script.
template <typename... Arguments>
int CallOr(int otherwise, const char* operation, const Arguments&... arguments)
{
    return TheWorld().Called(Line(operation, arguments...), false).value_or(otherwise);
}

template <typename... Arguments>
int Call(const char* operation, const Arguments&... arguments)
{
    return CallOr(0, operation, arguments...);
}

/// The same for calls that most tests do not want to see.
template <typename... Arguments>
int Detail(const char* operation, const Arguments&... arguments)
{
    return TheWorld().Called(Line(operation, arguments...), true).value_or(0);
}

/// A call by its name, with its result when no script gives one.
struct Operation {
    const char* name;
    int otherwise = 0;

    template <typename... Arguments>
    int operator()(const Arguments&... arguments) const
    {
        return CallOr(otherwise, name, arguments...);
    }
};

/// Writes the text of an export to a file that exists.
void WriteExport(const std::string& path);

/// Copies a text to a buffer of `size` bytes, cut to fit.
void CopyText(const std::string& text, char* buffer, int size);

}  // namespace recording

// Operations of the platform in one line: parameters and, in brackets too, what of them is shown.

// NOLINTBEGIN(bugprone-macro-parentheses): what they are given are pieces of a definition.

/// One that has no effect: noted, with its scripted result, or `otherwise`.
#define NOTED_OR(otherwise, operation, parameters, shown)              \
    int operation parameters                                           \
    {                                                                  \
        return recording::Operation{#operation, int(otherwise)} shown; \
    }
#define NOTED(operation, parameters, shown) NOTED_OR(0, operation, parameters, shown)

/// One that has an effect unless it fails.
#define DONE_OR(otherwise, operation, parameters, shown, effect)                   \
    int operation parameters                                                       \
    {                                                                              \
        const int result = recording::Operation{#operation, int(otherwise)} shown; \
        if (result >= 0) effect;                                                   \
        return result;                                                             \
    }
#define DONE(operation, parameters, shown, effect) DONE_OR(0, operation, parameters, shown, effect)

/// One that gives what the machine holds, whatever its script says.
#define GIVEN(type, operation, parameters, shown, value) \
    type operation parameters                            \
    {                                                    \
        recording::Operation{#operation} shown;          \
        return value;                                    \
    }

// NOLINTEND(bugprone-macro-parentheses)
