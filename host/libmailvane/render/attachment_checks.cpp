// The header checks that refuse attachments by name. A name can be encoded in many ways: quoted,
// split into numbered parts (RFC 2231), with bytes as %65 or =65, as a base64 word (RFC 2047). All
// forms of evil.exe are refused. Names inside archives are checked by the scanner.
#include "host/libmailvane/render/lists.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "host/libhaldcore/text.h"

namespace host::render {
namespace {

using Bytes = std::vector<unsigned>;

constexpr unsigned kByteBits = 8;
constexpr unsigned kDigitBits = 6;
constexpr std::size_t kDigits = 64;
const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The parameter `name` or `filename` up to its "="; a part of a split name is `name*0` or
/// `name*0*`.
const char kParameter[] = R"(^Content-(?:Disposition|Type):.*name[*0-9]*+\s*+=\s*+)";

/// The rest of a value, which ends at ";" or at the next name parameter.
const char kRest[] = R"((?:(?!name[*0-9]*\s*=)[^;])*)";
const char kUnquoted[] = R"((?:(?!name[*0-9]*\s*=)[^";])*)";

/// The largest number of types in one pattern; the library limits the size of patterns.
constexpr std::size_t kTypesAtOnce = 16;

/// Refuses very long headers, which cost much time to match. No proper one is as long, not even a
/// name of 255 bytes in every encoding at once.
const char kTooLong[] = "/^.{2048}/ REJECT this header of an attachment is too long\n";

/// What may separate two characters of a name: the end of one part and start of the next, or a
/// backslash.
const char kCut[] = R"re((?:"?\s*;\s*(?:file)?name\*\d+\*?\s*=\s*"?|\?=\s+=\?[^?]+\?Q\?)?\\?)re";

bool IsLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

/// The bytes that may stand for a character: a letter in both cases, anything else itself.
Bytes BytesOf(char c)
{
    constexpr unsigned caseBit = 0x20;
    const auto byte = static_cast<unsigned char>(c);
    return IsLetter(c) ? Bytes{byte & ~caseBit, byte} : Bytes{byte};
}

std::string Hex(unsigned byte)
{
    const char* const digits = "0123456789ABCDEF";
    return {digits[byte / 16], digits[byte % 16]};
}

/// Matches a character itself or its number, `%65` or `=65`.
std::string CharacterPattern(char c)
{
    std::string pattern = "(?:";
    if (!IsLetter(c) && !IsDigit(c)) pattern += '\\';
    pattern += c;
    pattern += "|[=%](?:";
    std::string separator;
    for (const unsigned byte : BytesOf(c)) {
        pattern += separator + Hex(byte);
        separator = "|";
    }
    return pattern + "))";
}

/// Matches one of the types after the dot of a name.
std::string NamePattern(const std::string& type)
{
    std::string pattern;
    for (const char c : type) pattern += kCut + CharacterPattern(c);
    return pattern;
}

/// Matches the base64 digit for the six bits from `bit` on; each byte of the text is a set of
/// choices.
std::string DigitPattern(const std::vector<Bytes>& text, std::size_t bit)
{
    const std::size_t first = bit / kByteBits;
    const Bytes& high = text[first];
    const Bytes& low = first + 1 < text.size() ? text[first + 1] : Bytes{0};
    const unsigned shift = 2 * kByteBits - kDigitBits - static_cast<unsigned>(bit % kByteBits);
    std::array<bool, kDigits> found{};
    for (const unsigned left : high) {
        for (const unsigned right : low) {
            found[(((left << kByteBits) | right) >> shift) % kDigits] = true;
        }
    }
    std::string pattern = "[";
    for (std::size_t digit = 0; digit < kDigits; ++digit) {
        if (!found[digit]) continue;
        if (kBase64[digit] == '/') pattern += '\\';
        pattern += kBase64[digit];
    }
    return pattern + "]";
}

/// Matches the base64 digits of `before` arbitrary bytes and the ending.
std::string DigitsPattern(const std::string& ending, std::size_t before)
{
    Bytes any;
    for (unsigned byte = 0; byte < (1U << kByteBits); ++byte) any.push_back(byte);
    std::vector<Bytes> text(before, any);
    for (const char c : ending) text.push_back(BytesOf(c));

    std::string pattern;
    for (std::size_t bit = 0; bit < text.size() * kByteBits; bit += kDigitBits) {
        pattern += DigitPattern(text, bit);
    }
    return pattern;
}

/// Matches base64 digits with this ending. Three bytes make four digits, so the ending can begin at
/// three positions within them.
std::string DigitsOfAnyPlace(const std::string& ending)
{
    return DigitsPattern(ending, 0) + "|" + DigitsPattern(ending, 1) + "|" +
           DigitsPattern(ending, 2);
}

/// Matches a base64 word that ends in one of the types.
std::string WordPattern(const std::string& digits)
{
    return R"(=\?[^?]{1,60}\?B\?(?-i:(?:[A-Za-z0-9+\/]{4})*(?:)" + digits + R"()=*\?=))";
}

/// The pattern for names that end in one of the types.
std::string Pattern(const std::vector<std::string>& types)
{
    std::string names;
    std::string words;
    for (const std::string& type : types) {
        names += (names.empty() ? "" : "|") + NamePattern(type);
        words += (words.empty() ? "" : "|") + DigitsOfAnyPlace("." + type);
    }
    // The pattern of the name is defined once and called from both forms, quoted and unquoted.
    const std::string name = "(?(DEFINE)(?<name>" + CharacterPattern('.') + "(?:" + names + ")))";
    const std::string quoted = R"("[^"]*(?&name)[\s.]*(?:\?=\s*)?(?:"|$))";
    const std::string plain = kUnquoted + std::string(R"((?&name)\.*(?:\?=)?(?:[\s;("]|$))");
    const std::string word = kRest + WordPattern(words);
    return "/" + name + kParameter + "(?:" + quoted + "|" + plain + "|" + word + ")/";
}

std::string Check(const std::string& type)
{
    return Pattern({type}) + " REJECT attachments of type ." + type + " are not accepted\n";
}

/// The checks of some types, behind one pattern for all of them: a header that does not match costs
/// little more than with one type.
std::string ChecksOf(const std::vector<std::string>& types)
{
    std::string text = "if " + Pattern(types) + "\n";
    for (const std::string& type : types) text += Check(type);
    return text + "endif\n";
}

}  // namespace

ListTexts AttachmentTexts(const ListSources& sources)
{
    const std::vector<std::string>& all = sources.types;
    std::string checks;
    for (std::size_t start = 0; start < all.size(); start += kTypesAtOnce) {
        const std::size_t end = std::min(start + kTypesAtOnce, all.size());
        const auto first = all.begin();
        checks += ChecksOf(
            {first + static_cast<std::ptrdiff_t>(start), first + static_cast<std::ptrdiff_t>(end)});
    }
    std::string types;
    for (const std::string& type : all) types += type + "\n";
    if (!checks.empty()) {
        checks = std::string("if /^Content-(Disposition|Type):/\n") + kTooLong + checks + "endif\n";
    }
    // The scanner refuses the same types inside archives.
    return TextsOf(std::move(checks), std::move(types));
}

}  // namespace host::render
