// The header checks that refuse attachments by name. A name can be written in many ways: quoted,
// cut into numbered parts (RFC 2231), with bytes as %65 or =65, as a word in base64 (RFC 2047); a
// program that opens it sees one and the same. Names inside archives are the scanner's matter.
#include "host/libmailvane/render/attachment_checks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/stores/attachment_types.h"

namespace host::render {
namespace {

using Bytes = std::vector<unsigned>;

constexpr unsigned kByteBits = 8;
constexpr unsigned kDigitBits = 6;
constexpr std::size_t kDigits = 64;
const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// A parameter's name before what follows it. Names of a part have "*", a number and "*" after it.
const char kParameter[] = R"(^Content-(?:Disposition|Type):.*name[*0-9]*+\s*+=\s*+)";

/// What else may stand in a value; it ends where the next parameter begins.
const char kRest[] = R"((?:(?!name[*0-9]*\s*=)[^;])*)";
const char kUnquoted[] = R"((?:(?!name[*0-9]*\s*=)[^";])*)";

/// More in one pattern would be too much for the library that matches it.
constexpr std::size_t kTypesAtOnce = 16;

/// No honest header is as long, names of 255 bytes in every coding at once included, and a long one
/// would cost the time that its sender likes.
const char kTooLong[] = "/^.{2048}/ REJECT this header of an attachment is too long\n";

/// What may stand between two characters of a name that is cut there, or be put before one.
const char kCut[] = R"re((?:"?\s*;\s*(?:file)?name\*\d+\*?\s*=\s*"?|\?=\s+=\?[^?]+\?Q\?)?\\?)re";

bool IsLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

/// The bytes that stand for a character of a type: a letter in either case.
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

/// A character as it is or as its number.
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

/// What follows the dot of a name.
std::string NamePattern(const std::string& type)
{
    std::string pattern;
    for (const char c : type) pattern += kCut + CharacterPattern(c);
    return pattern;
}

/// The base64 digits for six bits from `bit` on of a text of which every byte may be one of some.
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

/// The base64 digits of a text that ends so, `before` bytes of any kind in front of it.
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

/// Three bytes make four digits: the ending begins at one of three places in them.
std::string DigitsOfAnyPlace(const std::string& ending)
{
    return DigitsPattern(ending, 0) + "|" + DigitsPattern(ending, 1) + "|" +
           DigitsPattern(ending, 2);
}

/// A word in base64 that ends in one of these.
std::string WordPattern(const std::string& digits)
{
    return R"(=\?[^?]{1,60}\?B\?(?-i:(?:[A-Za-z0-9+\/]{4})*(?:)" + digits + R"()=*\?=))";
}

/// What finds a name that ends in one of the types.
std::string Pattern(const std::vector<std::string>& types)
{
    std::string names;
    std::string words;
    for (const std::string& type : types) {
        names += (names.empty() ? "" : "|") + NamePattern(type);
        words += (words.empty() ? "" : "|") + DigitsOfAnyPlace("." + type);
    }
    // Written once, called from both forms, quoted and not.
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

/// The checks of some types behind one look for them all: a header that none of them finds costs
/// little more than with one type.
std::string ChecksOf(const std::vector<std::string>& types)
{
    std::string text = "if " + Pattern(types) + "\n";
    for (const std::string& type : types) text += Check(type);
    return text + "endif\n";
}

}  // namespace

Result<std::vector<generation::ListFile>> AttachmentFiles()
{
    Result<std::vector<std::string>> types = stores::AttachmentTypes();
    if (!types) return std::move(types).reason();

    std::string text;
    for (std::size_t start = 0; start < types->size(); start += kTypesAtOnce) {
        const std::size_t end = std::min(start + kTypesAtOnce, types->size());
        const auto first = types->begin();
        text += ChecksOf(
            {first + static_cast<std::ptrdiff_t>(start), first + static_cast<std::ptrdiff_t>(end)});
    }
    if (!text.empty()) {
        text = std::string("if /^Content-(Disposition|Type):/\n") + kTooLong + text + "endif\n";
    }
    return std::vector<generation::ListFile>{{generation::kAttachmentChecksFile, text, false}};
}

}  // namespace host::render
