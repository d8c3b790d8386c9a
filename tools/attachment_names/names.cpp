// The names that a header gives an attachment. Mail programs differ on what is not well formed, so
// every reading counts: with comments and without, a quoted name up to its quote or its semicolon,
// parts in the order of their numbers or of the text.
#include "tools/attachment_names/names.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "host/libhaldcore/text.h"
#include "tools/attachment_names/decoding.h"

namespace attachment_names {
namespace {

// No proper header is as long, not even one with a name of 255 bytes in every encoding at once.
constexpr std::size_t kLongestHeader = 2048;
constexpr std::size_t kMostParameters = 100;
const char kTooLong[] = "this header of an attachment is too long";
const char kTwoParts[] = "the name of this attachment has two parts of one number";

const char kBlanks[] = " \t\r\n";

/// What no name ends in where it becomes that of a file: blanks that are not ASCII, and signs that
/// are not seen.
constexpr std::string_view kUnseen[] = {
    "\xc2\xa0",     "\xc2\xad",     "\xe2\x80\x8b", "\xe2\x80\x8c", "\xe2\x80\x8d",
    "\xe2\x80\x8e", "\xe2\x80\x8f", "\xe2\x80\xaa", "\xe2\x80\xac", "\xe2\x80\xad",
    "\xe2\x80\xae", "\xe2\x81\xa0", "\xe3\x80\x80", "\xef\xbb\xbf", "\xa0"};

/// A parameter `name`, `filename` or the like; one with a number is a part of a split name.
struct Parameter {
    std::string name;  ///< in lower case
    int part = -1;
    std::string strict;  ///< its value: up to the quote, or the first blank
    std::string lax;     ///< up to the semicolon
};

using Value = std::string Parameter::*;
using Parts = std::map<int, std::string>;

bool EndsIn(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Whether a file of this name is of a type.
bool EndsInType(std::string_view name, std::string_view type)
{
    return EndsIn(name, type) && EndsIn(name.substr(0, name.size() - type.size()), ".");
}

/// A name as that of a file: without control characters, in lower case, up to the last sign that
/// counts.
std::string Visible(const std::string& name)
{
    std::string visible;
    for (const char c : host::InLowerCase(name)) {
        if (!host::IsControl(c)) visible += c;
    }
    for (std::size_t before = 0; before != visible.size();) {
        before = visible.size();
        visible.erase(visible.find_last_not_of(" .") + 1);
        for (const std::string_view unseen : kUnseen) {
            if (EndsIn(visible, unseen)) visible.resize(visible.size() - unseen.size());
        }
    }
    return visible;
}

/// The values of a header's name parameters, each in two readings.
class Header {
public:
    explicit Header(std::string text) : text_(std::move(text))
    {
        for (std::size_t at = 0; !IsTooMuch() && (at = text_.find('=', at)) != std::string::npos;
             ++at) {
            Read(at);
        }
    }

    /// Whether there is more to look at than in any proper header: each value may begin within
    /// another.
    bool IsTooMuch() const
    {
        return parameters_.size() > kMostParameters || strictBytes_ > kLongestHeader ||
               laxBytes_ > kLongestHeader;
    }

    const std::vector<Parameter>& Parameters() const { return parameters_; }

private:
    /// Reads the parameter whose "=" this is, if it is a name.
    void Read(std::size_t equals)
    {
        Parameter parameter;
        std::size_t at = BackOver(equals, kBlanks);
        if (at > 0 && text_[at - 1] == '*') at = BackOver(at - 1, kBlanks);
        const std::size_t digits = BackOver(at, "0123456789");
        if (digits < at && digits > 0 && text_[digits - 1] == '*') {
            constexpr std::size_t kMostDigits = 6;
            parameter.part =
                std::stoi("0" + text_.substr(digits, std::min(at - digits, kMostDigits)));
            at = BackOver(digits - 1, kBlanks);
        }
        std::size_t start = at;
        while (start > 0 && host::IsLetterOrDigit(text_[start - 1])) --start;
        parameter.name = host::InLowerCase(text_.substr(start, at - start));
        if (!EndsIn(parameter.name, "name")) return;

        ReadValue(text_.find_first_not_of(kBlanks, equals + 1), parameter);
        strictBytes_ += parameter.strict.size();
        laxBytes_ += parameter.lax.size();
        parameters_.push_back(parameter);
    }

    void ReadValue(std::size_t start, Parameter& parameter) const
    {
        if (start == std::string::npos) return;

        for (std::size_t at = start; at < text_.size() && text_[at] != ';'; ++at) {
            if (text_[at] != '"' && text_[at] != '\\') parameter.lax += text_[at];
        }
        if (text_[start] != '"') {
            const auto end = text_.find_first_of("; \t(\"", start);
            parameter.strict = text_.substr(start, end == std::string::npos ? end : end - start);
            return;
        }
        for (std::size_t at = start + 1; at < text_.size() && text_[at] != '"'; ++at) {
            if (text_[at] == '\\' && at + 1 < text_.size()) ++at;
            parameter.strict += text_[at];
        }
    }

    /// The place where what consists of these characters, and ends at `end`, begins.
    std::size_t BackOver(std::size_t end, const char* characters) const
    {
        if (end == 0) return 0;
        const auto last = text_.find_last_not_of(characters, end - 1);
        return last == std::string::npos ? 0 : last + 1;
    }

    const std::string text_;
    std::vector<Parameter> parameters_;
    std::size_t strictBytes_ = 0;
    std::size_t laxBytes_ = 0;
};

/// A header without line ends; without the blanks behind them, too, if a name goes on there.
std::string Unfolded(const std::string& header, bool withBlanks)
{
    std::string text;
    for (std::size_t at = 0; at < header.size(); ++at) {
        const bool isEnd = header[at] == '\n' || header[at] == '\r';
        if (!isEnd) text += header[at];
        if (header[at] != '\n' || withBlanks) continue;
        while (at + 1 < header.size() && (header[at + 1] == ' ' || header[at + 1] == '\t')) ++at;
    }
    return text;
}

/// A text without the comments that stand outside of quotes.
std::string WithoutComments(const std::string& header)
{
    std::string text;
    bool quoted = false;
    int depth = 0;
    for (const char c : header) {
        if (c == '"' && depth == 0) quoted = !quoted;
        if (c == '(' && !quoted) ++depth;
        if (depth == 0) text += c;
        if (c == ')' && depth > 0) --depth;
    }
    return text;
}

/// Looks for the types at the end of names, however these are encoded.
class Search {
public:
    explicit Search(const std::vector<std::string>& types) : types_(types) {}

    /// Why a header is refused, in one of its readings.
    std::string Look(const Header& header)
    {
        if (header.IsTooMuch()) return kTooLong;

        std::string refusal = LookAt(header, &Parameter::strict);
        return refusal.empty() ? LookAt(header, &Parameter::lax) : refusal;
    }

private:
    std::string LookAt(const Header& header, Value value)
    {
        std::map<std::string, Parts> split;
        std::map<std::string, std::string> inTurn;
        std::string refusal;
        for (const Parameter& parameter : header.Parameters()) {
            const std::string& text = parameter.*value;
            if (parameter.part < 0) {
                refusal = LookAt(text);
            } else if (!split[parameter.name].emplace(parameter.part, text).second) {
                refusal = kTwoParts;
            }
            if (!refusal.empty()) return refusal;
            if (parameter.part >= 0) inTurn[parameter.name] += text;
        }
        for (const auto& [name, parts] : split) {
            refusal = LookAt(inTurn[name]);
            if (refusal.empty()) refusal = LookAt(parts);
            if (!refusal.empty()) break;
        }
        return refusal;
    }

    /// Looks at a split name: at all of it, and at what comes before the first part that is
    /// missing.
    std::string LookAt(const Parts& parts)
    {
        std::string name;
        std::string first;
        int next = 0;
        for (const auto& [number, text] : parts) {
            name += text;
            if (number == next) {
                first = name;
                ++next;
            }
        }
        const std::string refusal = LookAt(first);
        return refusal.empty() ? LookAt(name) : refusal;
    }

    std::string LookAt(const std::string& name)
    {
        // A name with its character set in front: utf-8'en'run.exe
        const auto charsetEnd = name.find('\'');
        const auto languageEnd =
            charsetEnd == std::string::npos ? charsetEnd : name.find('\'', charsetEnd + 1);
        std::string refusal = LookAtDecoded(name);
        if (refusal.empty() && name.find('%') != std::string::npos) {
            refusal = LookAtDecoded(PercentDecoded(name));
        }
        if (refusal.empty() && languageEnd != std::string::npos) {
            refusal = LookAtEnd(FromCharset(name.substr(0, charsetEnd),
                                            PercentDecoded(name.substr(languageEnd + 1))));
        }
        return refusal;
    }

    std::string LookAtDecoded(const std::string& name)
    {
        std::string refusal = LookAtEnd(name);
        if (!refusal.empty() || name.find("=?") == std::string::npos) return refusal;

        refusal = LookAtEnd(WordsDecoded(name, false));
        return refusal.empty() ? LookAtEnd(WordsDecoded(name, true)) : refusal;
    }

    std::string LookAtEnd(const std::string& name)
    {
        std::string refusal = LookAtVisible(Visible(name));
        // Where a NUL ends a text, what follows it is not seen.
        const auto nul = name.find('\0');
        if (!refusal.empty() || nul == std::string::npos) return refusal;
        return LookAtVisible(Visible(name.substr(0, nul)));
    }

    std::string LookAtVisible(const std::string& text)
    {
        for (const std::string& type : types_) {
            if (EndsInType(text, type)) {
                return "attachments of type ." + type + " are not accepted";
            }
        }
        return "";
    }

    const std::vector<std::string>& types_;
};

}  // namespace

std::string Refusal(const std::string& header, const std::vector<std::string>& types)
{
    if (header.size() > kLongestHeader) return kTooLong;

    Search search(types);
    const std::string text = Unfolded(header, true);
    std::string refusal = search.Look(Header(text));
    if (refusal.empty() && text.find('(') != std::string::npos) {
        refusal = search.Look(Header(WithoutComments(text)));
    }
    if (refusal.empty() && header.find('\n') != std::string::npos) {
        refusal = search.Look(Header(Unfolded(header, false)));
    }
    return refusal;
}

}  // namespace attachment_names
