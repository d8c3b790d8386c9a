// Texts as YAML has them.
#include "tools/document/yaml_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <sstream>
#include <string_view>

#include "host/libhaldcore/text.h"

namespace document {

namespace {

constexpr std::size_t kWidth = 100;

/// What readers of YAML take for something else than a text.
constexpr std::array<std::string_view, 10> kWords = {"true", "false", "yes", "no",   "on",
                                                     "off",  "y",     "n",   "null", "nan"};

bool IsPlainCharacter(char c)
{
    return host::IsLetterOrDigit(c) ||
           (c != '\0' && std::string_view("_.@/+-").find(c) != std::string_view::npos);
}

/// Words of letters, digits and a few others, with one blank between; the first begins with a
/// letter.
bool IsPlain(const std::string& text)
{
    if (text.empty() || !host::IsLetterOrDigit(text.front()) || host::IsDigit(text.front())) {
        return false;
    }
    if (text.back() == ' ' || text.find("  ") != std::string::npos) return false;
    const bool plain = std::all_of(text.begin(), text.end(),
                                   [](char c) { return c == ' ' || IsPlainCharacter(c); });
    const std::string lower = host::InLowerCase(text);
    return plain && std::find(kWords.begin(), kWords.end(), lower) == kWords.end();
}

/// The code point at a place of a text in UTF-8, and how many bytes it has.
struct CodePoint {
    unsigned value;
    std::size_t size;
};

CodePoint At(const std::string& text, std::size_t at)
{
    const auto byte = [&](std::size_t offset) {
        return static_cast<unsigned>(static_cast<unsigned char>(text[at + offset]));
    };
    const unsigned first = byte(0);
    if (first < 0x80) return {first, 1};
    const std::size_t size = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    unsigned value = first & (0xFFU >> (size + 1));
    for (std::size_t offset = 1; offset < size && at + offset < text.size(); ++offset) {
        value = (value << 6U) | (byte(offset) & 0x3FU);
    }
    return {value, std::min(size, text.size() - at)};
}

/// Whether a character would end a line, steer a terminal or be invisible.
bool NeedsEscape(unsigned point)
{
    return point < 0x20 || (point >= 0x7F && point < 0xA0) ||
           (point >= 0x2028 && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069) ||
           point == 0xFEFF || (point & 0xFFFEU) == 0xFFFE;
}

std::string Escaped(unsigned point)
{
    if (point == '\n') return "\\n";
    if (point == '\t') return "\\t";
    char text[16];
    (void)std::snprintf(text, sizeof text, point > 0xFFFF ? "\\U%08X" : "\\u%04X", point);
    return text;
}

bool FitsBlock(const std::string& text)
{
    if (text.find('\n') == std::string::npos || text.front() == '\n') return false;
    for (std::size_t at = 0; at < text.size();) {
        const CodePoint point = At(text, at);
        if (NeedsEscape(point.value) && point.value != '\n' && point.value != '\t') return false;
        at += point.size;
    }
    return true;
}

std::string Block(const std::string& text, int depth)
{
    // What keeps the number of line feeds at the end.
    std::string head = " |";
    if (text.front() == ' ' || text.front() == '\t') head += "2";
    const bool endsLine = text.back() == '\n';
    if (!endsLine) head += "-";
    if (endsLine && text.size() > 1 && text[text.size() - 2] == '\n') head += "+";

    std::string block = head + "\n";
    const std::string margin(static_cast<std::size_t>(depth), ' ');
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        block.append(line.empty() ? "" : margin).append(line).append("\n");
    }
    return block;
}

}  // namespace

std::string Quoted(const std::string& text)
{
    if (IsPlain(text)) return text;
    std::string quoted = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const CodePoint point = At(text, at);
        if (point.value == '"' || point.value == '\\') quoted += '\\';
        if (NeedsEscape(point.value)) {
            quoted += Escaped(point.value);
        } else {
            quoted.append(text, at, point.size);
        }
        at += point.size;
    }
    return quoted + '"';
}

std::string Valued(const std::string& text, int depth)
{
    return FitsBlock(text) ? Block(text, depth) : " " + Quoted(text) + "\n";
}

std::string Comment(const std::string& text, int depth)
{
    const std::string begin = std::string(static_cast<std::size_t>(depth), ' ') + "#";
    std::string comment;
    std::string line = begin;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (line.size() + 1 + word.size() > kWidth) {
            comment.append(line).append("\n");
            line = begin;
        }
        line.append(" ").append(word);
    }
    return comment + line + "\n";
}

}  // namespace document
