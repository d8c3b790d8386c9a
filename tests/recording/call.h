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
inline const std::string& Word(const Words& words) { return words.text; }

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
template <typename Number, typename... Arguments>
int CallOr(Number otherwise, const char* operation, const Arguments&... arguments)
{
    const auto scripted = TheWorld().Called(Line(operation, arguments...), false);
    return scripted.value_or(static_cast<int>(otherwise));
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

/// Notes a call that gives what the machine holds, whatever its script says.
template <typename Value, typename... Arguments>
Value Given(const Value& value, const char* operation, const Arguments&... arguments)
{
    Call(operation, arguments...);
    return value;
}

/// The effect of a call: `target` takes the value unless `result` tells a failure, which is passed
/// on.
template <typename Target, typename Value>
int Fill(Target& target, const Value& value, int result)
{
    if (result >= 0) target = value;
    return result;
}

/// The effect of an export: writes its text to a file that exists.
int Export(const std::string& path, int result);

/// Copies a text to a buffer of `size` bytes, cut to fit.
void CopyText(const std::string& text, char* buffer, int size);

}  // namespace recording
