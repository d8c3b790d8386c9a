// How the characters of an attachment's name can be written in a header.
#include "tools/attachment_names/decoding.h"

#include <iconv.h>
#include <strings.h>

#include <cctype>
#include <cstdint>
#include <cstring>

namespace attachment_names {
namespace {

const char kBlanks[] = " \t\r\n";
const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// An encoded word: `=?charset?encoding?text?=`.
struct Word {
    std::string charset;
    char encoding = 0;  ///< 'B' or 'Q'
    std::string text;
    std::size_t end = 0;  ///< the place behind it
};

/// A text with the bytes that have their number behind `sign`.
std::string NumbersDecoded(const std::string& text, char sign)
{
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string digits = text[at] == sign ? text.substr(at + 1, 2) : "";
        const bool isNumber = digits.size() == 2 && std::isxdigit(digits[0] & 0xff) != 0 &&
                              std::isxdigit(digits[1] & 0xff) != 0;
        decoded += isNumber ? static_cast<char>(std::stoi(digits, nullptr, 16)) : text[at];
        if (isNumber) at += 2;
    }
    return decoded;
}

std::string Decoded(const Word& word, Convert convert)
{
    if (word.encoding == 'B') return convert(word.charset, Base64Decoded(word.text));

    std::string text = word.text;
    for (char& c : text) c = c == '_' ? ' ' : c;
    return convert(word.charset, NumbersDecoded(text, '='));
}

/// Reads the encoded word at `at`; false when there is none.
bool ReadWord(const std::string& text, std::size_t at, Word& word)
{
    if (text.compare(at, 2, "=?") != 0) return false;

    const auto charsetEnd = text.find('?', at + 2);
    if (charsetEnd == std::string::npos || charsetEnd + 2 >= text.size()) return false;

    const char encoding = static_cast<char>(std::toupper(text[charsetEnd + 1] & 0xff));
    if ((encoding != 'B' && encoding != 'Q') || text[charsetEnd + 2] != '?') return false;

    const auto start = charsetEnd + 3;
    const auto end = text.find("?=", start);
    if (end == std::string::npos) return false;
    word = {text.substr(at + 2, charsetEnd - at - 2), encoding, text.substr(start, end - start),
            end + 2};
    return true;
}

/// Reads the encoded word that follows another with nothing but blanks between them.
bool ReadNextWord(const std::string& text, const Word& word, Word& next)
{
    const auto at = text.find_first_not_of(kBlanks, word.end);
    return at != std::string::npos && ReadWord(text, at, next);
}

}  // namespace

std::string PercentDecoded(const std::string& text)
{
    return NumbersDecoded(text, '%');
}

std::string QuotedDecoded(const std::string& text)
{
    return NumbersDecoded(text, '=');
}

std::string Base64Decoded(const std::string& text)
{
    constexpr unsigned kDigitBits = 6;
    constexpr unsigned kByteBits = 8;
    std::string decoded;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char c : text) {
        if (c == '=') held = 0;
        const char* const digit = c == 0 ? nullptr : std::strchr(kBase64, c);
        if (digit == nullptr) continue;

        bits = (bits << kDigitBits) | static_cast<unsigned>(digit - kBase64);
        held += kDigitBits;
        if (held < kByteBits) continue;
        held -= kByteBits;
        decoded += static_cast<char>((bits >> held) & 0xff);
    }
    return decoded;
}

std::string WordsDecoded(const std::string& text, bool joined, Convert convert)
{
    std::string decoded;
    for (std::size_t at = 0; at < text.size();) {
        Word word;
        if (!ReadWord(text, at, word)) {
            decoded += text[at++];
            continue;
        }
        for (Word next; ReadNextWord(text, word, next);) {
            const bool continues = joined && next.encoding == word.encoding;
            if (!continues) decoded += Decoded(word, convert);
            if (continues) next.text.insert(0, word.text);
            word = next;
        }
        decoded += Decoded(word, convert);
        at = word.end;
    }
    return decoded;
}

std::string FromCharset(const std::string& charset, const std::string& text)
{
    if (strncasecmp(charset.c_str(), "utf-7", 5) != 0 &&
        strncasecmp(charset.c_str(), "unicode-1-1-utf-7", 17) != 0) {
        return text;
    }
    const iconv_t converter = iconv_open("UTF-8", "UTF-7");
    if (reinterpret_cast<std::intptr_t>(converter) == -1) return text;

    constexpr std::size_t kMostBytesOfOne = 4;
    std::string from = text;
    std::string converted(text.size() * kMostBytesOfOne, '\0');
    char* in = from.data();
    char* out = converted.data();
    std::size_t left = from.size();
    std::size_t room = converted.size();
    (void)iconv(converter, &in, &left, &out, &room);
    (void)iconv_close(converter);
    converted.resize(converted.size() - room);
    return converted + std::string(in, left);
}

}  // namespace attachment_names
