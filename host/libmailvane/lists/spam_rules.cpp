// Rule sets of the spam filter. Their files are in etc/rules. The filter reads amavis/rules.cf of
// the generation in force: a copy of the enabled sets, each after a line with its name. Replacing
// the file of a set has no effect until it is enabled again and passes the filter's check.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/names/spam_rule_text.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/spam_rule_lint.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/spam.h"

namespace host::lists {
namespace {

namespace fs = std::filesystem;

const char kWhat[] = "spam rules";
constexpr std::size_t kLongestToldName = 128;

/// The enabled rule sets: name and rules.
using RuleSets = std::map<std::string, std::string>;

std::string RuleFile(const std::string& name)
{
    return PackagePath("etc/rules/" + name);
}

/// Whether a rule set has a file.
bool HasFile(const std::string& name)
{
    struct stat status {};
    return names::IsRuleSetName(name) && lstat(RuleFile(name).c_str(), &status) == 0 &&
           S_ISREG(status.st_mode);
}

RuleSets EnabledSets()
{
    std::string text;
    (void)ReadFile(generation::GeneratedDirectory() + "/current/" + render::kSpamRules, text);
    RuleSets sets;
    std::string* set = nullptr;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(names::kRuleSetHeading, 0) == 0) {
            set = &sets[line.substr(sizeof(names::kRuleSetHeading) - 1)];
        } else if (set != nullptr) {
            set->append(line).append("\n");
        }
    }
    return sets;
}

std::string TextOf(const RuleSets& sets)
{
    std::string text;
    for (const auto& [name, rules] : sets)
        text.append(names::kRuleSetHeading).append(name + "\n").append(rules);
    return text;
}

std::string Sentence(const std::string& name, const char* end)
{
    return "the rule set '" + name.substr(0, kLongestToldName) + "' " + end;
}

Reason NotThere(const std::string& name)
{
    return {ReasonCode::kMissing, name, Sentence(name, "is not there")};
}

/// The reason why a rule set is not enabled; `cause` is what is wrong with its file or rules.
Reason Refused(const std::string& name, Reason cause)
{
    return std::move(cause).Causing(name, Sentence(name, "is refused; what was in force stays so"));
}

Result<void> Enable(const std::string& name)
{
    if (!HasFile(name)) return NotThere(name);

    RuleSets sets = EnabledSets();
    Result<std::string> rules = names::ReadRuleFile(RuleFile(name));
    if (!rules) return Refused(name, std::move(rules).reason());

    std::string& inForce = sets[name];
    if (inForce == *rules && !rules->empty()) return {};

    inForce = *rules;
    Result<void> taken = save::SpamFilterTakes(TextOf(sets));
    if (!taken) return Refused(name, std::move(taken).reason());
    return save::ApplySpamRules(TextOf(sets));
}

Result<void> Disable(const std::string& name)
{
    RuleSets sets = EnabledSets();
    if (sets.erase(name) != 0) return save::ApplySpamRules(TextOf(sets));

    if (HasFile(name)) return {};
    return NotThere(name);
}

Result<void> Delete(const std::string& name)
{
    Result<void> disabled = Disable(name);
    if (!disabled) return disabled;
    if (!HasFile(name) || unlink(RuleFile(name).c_str()) == 0) return {};
    return SystemReason(name, "cannot remove a rule set");
}

/// Runs a change of one rule set under the request lock.
Result<void> ChangeRule(Result<void> (*change)(const std::string&), const std::string& name)
{
    return system::Attempt(kWhat, [change, &name] {
        const save::WriteScope scope;
        return scope.ready() ? change(name) : scope.ready();
    });
}

std::list<SpamRule> AllRules()
{
    std::map<std::string, bool> enabled;
    for (const auto& entry : fs::directory_iterator(PackagePath("etc/rules"))) {
        const std::string name = entry.path().filename().string();
        if (HasFile(name)) enabled[name] = false;
    }
    for (const auto& [name, rules] : EnabledSets()) enabled[name] = true;

    std::list<SpamRule> list;
    for (const auto& [name, isEnabled] : enabled) list.push_back({name, isEnabled});
    return list;
}

}  // namespace
}  // namespace host::lists

std::list<SpamRule> Spam::getSpamRules()
{
    auto rules = host::system::Attempt(host::lists::kWhat, host::lists::AllRules);
    return host::Succeeded(rules) ? *std::move(rules) : std::list<SpamRule>();
}

int Spam::enableRule(const std::string& name)
{
    return host::Status(host::lists::ChangeRule(host::lists::Enable, name));
}

int Spam::disableRule(const std::string& name)
{
    return host::Status(host::lists::ChangeRule(host::lists::Disable, name));
}

int Spam::deleteRule(const std::string& name)
{
    return host::Status(host::lists::ChangeRule(host::lists::Delete, name));
}

bool Spam::isEnableSpamassassin() const
{
    const auto settings = host::settings::StoredSettings::Read();
    return host::Succeeded(settings) && settings->Bool("spam_enable");
}

std::string Spam::GetImportRulePath(const std::string& name)
{
    return host::lists::HasFile(name) ? host::lists::RuleFile(name) : "";
}
