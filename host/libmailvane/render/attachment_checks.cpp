// The header checks that refuse attachments by name. A name can be written in many ways: quoted,
// cut into numbered parts (RFC 2231), with bytes as %65 or =65, as a word in base64 (RFC 2047); a
// program that opens it sees one and the same. Names inside archives are the scanner's matter.
#include "host/libmailvane/render/lists.h"

#include <array>
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

/// A parameter's name before what follows it. Names of a part have "*", a number and "*" after it.
const char kParameter[] = R"(^Content-(?:Disposition|Type):.*name[*0-9]*+\s*+=\s*+)";

/// What else may stand in a value; it ends where the next parameter begins.
const char kRest[] = R"((?:(?!name[*0-9]*\s*=)[^;])*)";
const char kUnquoted[] = R"((?:(?!name[*0-9]*\s*=)[^";])*)";

/// No honest header is as long, and a long one would cost the time that its sender likes.
const char kTooLong[] = "/^.{4096}/ REJECT this header of an attachment is too long\n";

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

std::string NamePattern(const std::string& ending)
{
    std::string pattern = CharacterPattern(ending.front());
    for (std::size_t i = 1; i < ending.size(); ++i) pattern += kCut + CharacterPattern(ending[i]);
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

/// A word in base64 that ends so. Three bytes make four digits: the ending begins at one of three
/// places in them.
std::string WordPattern(const std::string& ending)
{
    return R"(=\?[^?]{1,60}\?B\?(?-i:(?:[A-Za-z0-9+\/]{4})*(?:)" + DigitsPattern(ending, 0) + "|" +
           DigitsPattern(ending, 1) + "|" + DigitsPattern(ending, 2) + R"()=*\?=))";
}

std::string Check(const std::string& type)
{
    const std::string ending = "." + type;
    // Written once, called from both forms, quoted and not.
    const std::string name = "(?(DEFINE)(?<name>" + NamePattern(ending) + "))";
    const std::string quoted = R"("[^"]*(?&name)[\s.]*(?:\?=\s*)?(?:"|$))";
    const std::string plain = kUnquoted + std::string(R"((?&name)\.*(?:\?=)?(?:[\s;("]|$))");
    const std::string word = kRest + WordPattern(ending);
    return "/" + name + kParameter + "(?:" + quoted + "|" + plain + "|" + word +
           ")/ REJECT attachments of type " + ending + " are not accepted\n";
}

}  // namespace

ListTexts AttachmentTexts(const ListSources& sources)
{
    std::string checks;
    std::string types;
    for (const std::string& type : sources.types) {
        checks += Check(type);
        types += type + "\n";
    }
    if (!checks.empty()) {
        checks = std::string("if /^Content-(Disposition|Type):/\n") + kTooLong + checks + "endif\n";
    }
    // The scanner looks for the same types inside archives.
    return std::vector<std::string>{checks, types};
}

}  // namespace host::render
