// What is allowed in a file of rules for the spam filter.
#include "host/libmailvane/names/spam_rule_text.h"

#include <sys/stat.h>

#include <algorithm>
#include <sstream>
#include <string_view>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {
namespace {

constexpr off_t kLargestFile = off_t{1} << 20;  // bytes
constexpr std::size_t kLongestLine = 4096;
constexpr std::size_t kLongestSetName = 128;
constexpr std::size_t kLongestRuleName = 100;  // the filter's own limit

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kWordCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";

/// A directive that is allowed. `furtherCharacters` are allowed after the rule's name besides
/// letters, digits and "_"; null allows any, for patterns and texts.
struct Directive {
    std::string_view name;
    const char* furtherCharacters;
};
constexpr Directive kDirectives[] = {
    {"header", nullptr},   {"body", nullptr},           {"rawbody", nullptr},
    {"uri", nullptr},      {"full", nullptr},           {"mimeheader", nullptr},
    {"describe", nullptr}, {"meta", " +-*/()<>=!&|.,"}, {"score", " .+-()"},
    {"tflags", " .-="},    {"priority", "-"},
};

/// The beginnings of constructs by which a pattern would execute Perl code.
constexpr std::string_view kCode[] = {"(?{", "(??{", "(?p{", "(*{", "(**{"};

/// Removes the first word and the blanks after it from `rest` and returns the word.
std::string_view CutWord(std::string_view& rest)
{
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(word.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    return word;
}

const Directive* FindDirective(std::string_view word)
{
    const auto* found = std::find_if(std::begin(kDirectives), std::end(kDirectives),
                                     [word](const Directive& one) { return one.name == word; });
    return found == std::end(kDirectives) ? nullptr : found;
}

bool IsRuleName(std::string_view name)
{
    return !name.empty() && name.size() <= kLongestRuleName &&
           kDigits.find(name.front()) == std::string_view::npos &&
           name.find_first_not_of(kWordCharacters) == std::string_view::npos;
}

bool Consists(std::string_view text, std::string_view furtherCharacters)
{
    return std::all_of(text.begin(), text.end(), [furtherCharacters](char c) {
        return kWordCharacters.find(c) != std::string_view::npos ||
               furtherCharacters.find(c) != std::string_view::npos;
    });
}

/// Whether a pattern would execute code. Blanks are removed first, since Perl may ignore them: `(
/// ?{`.
bool HoldsCode(std::string_view text)
{
    std::string dense(text);
    dense.erase(std::remove(dense.begin(), dense.end(), ' '), dense.end());
    return std::any_of(std::begin(kCode), std::end(kCode), [&dense](std::string_view code) {
        return dense.find(code) != std::string::npos;
    });
}

/// Whether a rule calls one of the filter's functions with a file name:
/// `eval:check_x('/etc/passwd')`.
bool CallsWithPath(std::string_view text)
{
    return text.substr(0, 5) == "eval:" && text.find('/') != std::string_view::npos;
}

/// The line without its comment. A "#" after a backslash begins no comment.
std::string WithoutComment(const std::string& line)
{
    for (auto at = line.find('#'); at != std::string::npos; at = line.find('#', at + 1)) {
        if (at == 0 || line[at - 1] != '\\') return std::string(Trim(line.substr(0, at)));
    }
    return line;
}

Reason Fault(ReasonCode code, const char* text)
{
    return {code, "", text};
}

Result<void> CheckSize(const std::string& path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) < 0 || !S_ISREG(status.st_mode)) {
        return Reason{ReasonCode::kMissing, Subject::Setting("ruleName"),
                      "there is no rule file " + path};
    }
    if (status.st_size <= kLargestFile) return {};
    return Reason{ReasonCode::kTooLong, Subject::Setting("ruleName"),
                  "the rule file " + path + " is too large"};
}

}  // namespace

bool IsRuleSetName(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestSetName && name.front() != '.' &&
           name.front() != ' ' && name.back() != ' ' && IsPlainText(name) &&
           name.find_first_of("/<>") == std::string::npos && name.rfind(kUploadedFile, 0) != 0;
}

RuleSets RuleSetsIn(const std::string& text)
{
    RuleSets sets;
    std::string* set = nullptr;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(kRuleSetHeading, 0) == 0) {
            set = &sets[line.substr(sizeof(kRuleSetHeading) - 1)];
        } else if (set != nullptr) {
            set->append(line).append("\n");
        }
    }
    return sets;
}

std::string TextOfRuleSets(const RuleSets& sets)
{
    std::string text;
    for (const auto& [name, rules] : sets) {
        text.append(kRuleSetHeading).append(name).append("\n").append(rules);
    }
    return text;
}

Result<void> CheckRuleLine(const std::string& line)
{
    if (line.size() > kLongestLine) return Fault(ReasonCode::kTooLong, "is too long");

    std::string_view rest = line;
    const Directive* directive = FindDirective(CutWord(rest));
    if (directive == nullptr) {
        return Fault(ReasonCode::kNoRule, "is no rule: only rules, scores and texts are taken");
    }
    if (!IsRuleName(CutWord(rest))) return Fault(ReasonCode::kNoName, "has no name of a rule");
    if (rest.empty()) return Fault(ReasonCode::kEmpty, "is incomplete");
    if (HoldsCode(rest)) return Fault(ReasonCode::kUnsafe, "holds a program in a pattern");
    if (CallsWithPath(rest)) return Fault(ReasonCode::kUnsafe, "names a file");

    const char* further = directive->furtherCharacters;
    if (further == nullptr || Consists(rest, further)) return {};
    return Fault(ReasonCode::kBadFormat, "has a value that is none");
}

Result<std::string> ReadRuleFile(const std::string& path)
{
    Result<void> sized = CheckSize(path);
    if (!sized) return std::move(sized).reason();

    std::string rules;
    Result<void> taken = ReadListText(path, [&rules](const std::string& whole) {
        const std::string line = WithoutComment(whole);
        Result<void> checked = CheckRuleLine(line);
        if (checked) rules.append(line).append("\n");
        return checked;
    });
    if (!taken) return std::move(taken).reason();
    return rules;
}

}  // namespace host::names
