// The section of the rule sets of the spam filter: whether each is in force, and its rules.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "host/libmailvane/names/spam_rule_text.h"
#include "tools/document/section.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

namespace fs = std::filesystem;
using host::Reason;
using host::ReasonCode;
using host::Result;
using host::names::RuleSets;

constexpr char kEnabled[] = "enabled";
constexpr char kRules[] = "rules";

struct RuleSet {
    bool isEnabled = false;
    std::optional<std::string> rules;  ///< none, where the file is no text

    bool operator==(const RuleSet& other) const
    {
        return isEnabled == other.isEnabled && rules == other.rules;
    }
};
using AllSets = std::map<std::string, RuleSet>;

std::string FileOf(const State& state, const std::string& name)
{
    return state.folder + "/rules/" + name;
}

/// All rule sets. The rules of one that is in force are those in force, with the comments of the
/// file where that has the same.
AllSets SetsOf(const State& state)
{
    AllSets sets;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(state.folder + "/rules", error)) {
        const std::string name = entry.path().filename().string();
        std::string text;
        if (!host::names::IsRuleSetName(name) || !entry.is_regular_file() || entry.is_symlink() ||
            !host::ReadFile(entry.path().string(), text)) {
            continue;
        }
        sets[name] = {false, host::IsUtf8(text) ? std::optional(text) : std::nullopt};
    }
    for (const auto& [name, rules] : host::names::RuleSetsIn(state.rules)) {
        RuleSet& set = sets[name];
        set.isEnabled = true;
        const auto file = host::names::ReadRuleFile(FileOf(state, name));
        if (!file || *file != rules) set.rules = rules;
    }
    return sets;
}

/// The line of the document that a refused line of rules stands on.
int LineIn(const Node& rules, const Reason& cause)
{
    return rules.isBlock ? rules.line + cause.about.number() : rules.line;
}

/// What the document says of one set; nothing, with faults, when that cannot be.
class SetReader {
public:
    SetReader(const Section& section, Merge& merge) : section_(section), merge_(merge) {}

    void Read(const Node& name, const Node& said, RuleSet& set)
    {
        if (!host::names::IsRuleSetName(name.text)) {
            Refuse(name.line, name.text, ReasonCode::kNoName, "is no name of a rule set");
        }
        if (said.kind != Node::Kind::kMap) {
            Refuse(said.line, name.text, ReasonCode::kBadFormat,
                   "is no map with enabled and rules");
            return;
        }
        for (const auto& [member, value] : said.members) {
            ReadMember(name.text + "." + member.text, member, value, set);
        }
    }

    void Refuse(int line, const std::string& about, ReasonCode code, const std::string& why)
    {
        merge_.faults.push_back({line, PathOf(section_, about), code, why});
    }

private:
    void ReadMember(const std::string& path, const Node& member, const Node& value, RuleSet& set)
    {
        if (value.kind != Node::Kind::kText) {
            return Refuse(value.line, path, ReasonCode::kBadFormat, "is no single value");
        }
        if (member.text == kRules) {
            set.rules = value.text;
        } else if (member.text == kEnabled) {
            const std::string spelled = Switch(value.text);
            set.isEnabled = spelled == "yes";
            if (!set.isEnabled && spelled != "no") {
                Refuse(value.line, path, ReasonCode::kNoChoice, "");
            }
        } else {
            Refuse(member.line, path, ReasonCode::kMissing, "a rule set has no such member");
        }
    }

    const Section& section_;
    Merge& merge_;
};

/// The rules of a set as they come in force; faults when they are refused.
std::optional<std::string> Checked(const Merge& merge, const Node& name, const Node& said,
                                   SetReader& reader)
{
    Result<std::string> rules = host::names::ReadRuleFile(FileOf(merge.state, name.text));
    if (rules) return *std::move(rules);
    const Node* const text = said.Find(kRules);
    for (const Reason& cause : rules.reason().causes) {
        reader.Refuse(text == nullptr ? name.line : LineIn(*text, cause), name.text, cause.code,
                      WhyOf(cause));
    }
    if (rules.reason().causes.empty()) {
        reader.Refuse(name.line, name.text, rules.reason().code, "there are no rules of this name");
    }
    return std::nullopt;
}

Result<void> WriteRules(const State& state, const std::string& name, const RuleSet& set)
{
    const std::string path = FileOf(state, name);
    if (!set.rules || host::ReplaceFile(path, *set.rules, 0600)) return {};
    return host::SystemReason(path, "cannot write " + path);
}

}  // namespace

Result<Entries> ReadRuleSets(const Section& /*section*/, const State& state)
{
    Entries entries;
    for (const auto& [name, set] : SetsOf(state)) {
        std::string value =
            "\n    " + std::string(kEnabled) + (set.isEnabled ? ": true\n" : ": false\n");
        if (set.rules) value += "    " + std::string(kRules) + ":" + Valued(*set.rules, 6);
        entries.push_back({name, value, "", ""});
    }
    return entries;
}

Result<void> MergeRuleSets(const Section& section, const Node& node, Merge& merge)
{
    if (!IsMap(section, node, merge) && !node.isNothing) return {};
    const AllSets stored = SetsOf(merge.state);
    RuleSets inForce = host::names::RuleSetsIn(merge.state.rules);
    SetReader reader(section, merge);
    for (const auto& [name, said] : node.members) {
        const auto found = stored.find(name.text);
        const RuleSet before = found == stored.end() ? RuleSet() : found->second;
        RuleSet wanted = before;
        const std::size_t faults = merge.faults.size();
        reader.Read(name, said, wanted);
        if (merge.faults.size() != faults || (found != stored.end() && wanted == before)) continue;

        Result<void> written = WriteRules(merge.state, name.text, wanted);
        if (!written) return written;
        if (!wanted.isEnabled) inForce.erase(name.text);
        if (!wanted.isEnabled) continue;
        if (const auto rules = Checked(merge, name, said, reader)) inForce[name.text] = *rules;
    }
    for (const auto& [name, set] : stored) {
        if (!merge.prunes || node.Find(name) != nullptr) continue;
        inForce.erase(name);
        (void)unlink(FileOf(merge.state, name).c_str());
    }
    merge.state.rules = host::names::TextOfRuleSets(inForce);
    return {};
}

}  // namespace document
