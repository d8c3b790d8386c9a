// The authors of a message. Stricter than RFC 5322 on quotes and comments, where programs differ;
// laxer on display names, which many senders do not quote.
#include "tools/from_check/authors.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

namespace from_check {
namespace {

// The DMARC checker reads no more bytes than these.
constexpr std::size_t kLongestValue = 2048;

const char kBlanks[] = " \t\r\n";

bool IsText(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= ' ' && byte != 0x7f) || c == '\t' || c == '\r' || c == '\n';
}

/// The end of the quoted string that begins at `at`.
std::size_t EndOfQuoted(const std::string& value, std::size_t at)
{
    do {
        at = value.find_first_of("\"\\", at + 1);
        if (at == std::string::npos || value[at] == '"') return at;
        ++at;
    } while (at < value.size());
    return std::string::npos;
}

/// The end of the comment that begins at `at`; npos when it contains quotes.
std::size_t EndOfComment(const std::string& value, std::size_t at)
{
    int depth = 0;
    for (; at != std::string::npos; at = value.find_first_of("()\"\\", at + 1)) {
        if (value[at] == '"' || value[at] == '\\') return std::string::npos;
        depth += value[at] == '(' ? 1 : -1;
        if (depth == 0) return at;
    }
    return std::string::npos;
}

/// The end of the square brackets that begin at `at`; npos when they contain special characters.
std::size_t EndOfBracket(const std::string& value, std::size_t at)
{
    at = value.find_first_of("[]<>(),\"\\", at + 1);
    return at != std::string::npos && value[at] == ']' ? at : std::string::npos;
}

/// Removes comments, and the contents of quotes and brackets; false when one is not closed.
bool Simplify(const std::string& value, std::string& simple)
{
    for (std::size_t at = 0; at < value.size(); ++at) {
        const char c = value[at];
        if (!IsText(c) || c == '\\') return false;
        if (c != '"' && c != '(' && c != '[') {
            simple += c;
            continue;
        }
        at = c == '"'   ? EndOfQuoted(value, at)
             : c == '(' ? EndOfComment(value, at)
                        : EndOfBracket(value, at);
        if (at == std::string::npos) return false;
        if (c != '(') simple += c == '"' ? "\"\"" : "[]";
    }
    return true;
}

std::string Trimmed(const std::string& text)
{
    const auto start = text.find_first_not_of(kBlanks);
    if (start == std::string::npos) return "";
    return text.substr(start, text.find_last_not_of(kBlanks) + 1 - start);
}

bool IsDomain(const std::string& text)
{
    char before = '.';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isLetter = std::isalnum(byte) != 0 || byte >= 0x80 || c == '-' || c == '_';
        if (!isLetter && (c != '.' || before == '.')) return false;
        before = c;
    }
    return before != '.';
}

/// The domain of `local@domain`; empty when the text has another form.
std::string DomainOfAddress(const std::string& address)
{
    const auto at = address.find('@');
    const bool isPlain = address.find_first_of("<>:;") == std::string::npos;
    if (at == std::string::npos || at == 0 || !isPlain) return "";

    const std::string domain = address.substr(at + 1);
    return IsDomain(domain) ? domain : "";
}

/// The domain of one author: an address, or a name and an address in angle brackets.
std::string DomainOfAuthor(const std::string& author)
{
    const auto open = author.find('<');
    if (open == std::string::npos) return DomainOfAddress(author);
    if (author.back() != '>') return "";

    // A colon ends the name of a group, as in `Friends: <a@b.example>`. A name with an "@" is
    // ambiguous.
    const std::string name = author.substr(0, open);
    const bool isGroup = name.find_first_of(":;") != std::string::npos;
    if (name.find('>') != std::string::npos) return "";
    if (isGroup && name.find('@') != std::string::npos) return "";
    return DomainOfAddress(Trimmed(author.substr(open + 1, author.size() - open - 2)));
}

}  // namespace

std::string DomainOfAuthors(const std::string& value)
{
    std::string simple;
    if (value.size() > kLongestValue || !Simplify(value, simple)) return "";

    std::string common;
    for (std::size_t start = 0; start <= simple.size();) {
        const auto comma = std::min(simple.find(',', start), simple.size());
        const std::string domain = DomainOfAuthor(Trimmed(simple.substr(start, comma - start)));
        const bool differs = start > 0 && strcasecmp(domain.c_str(), common.c_str()) != 0;
        if (domain.empty() || differs) return "";

        common = domain;
        start = comma + 1;
    }
    return common;
}

}  // namespace from_check
