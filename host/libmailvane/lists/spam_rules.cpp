// Rule sets of the spam filter. Their files are in etc/rules. The filter reads amavis/rules.cf of
// the generation in force: a copy of the enabled sets, each after a line with its name. Replacing
// the file of a set has no effect until it is enabled again and passes the filter's check. What a
// request changes comes in force together.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/daemons/service_control.h"
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
const char kMember[] = "ruleName";
constexpr std::size_t kLongestToldName = 128;

using names::RuleSets;

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

/// The enabled rule sets.
RuleSets EnabledSets()
{
    std::string text;
    (void)ReadFile(generation::GeneratedDirectory() + "/current/" + render::kSpamRules, text);
    return names::RuleSetsIn(text);
}

std::string Sentence(const std::string& name, const char* end)
{
    return "the rule set '" + name.substr(0, kLongestToldName) + "' " + end;
}

Reason NotThere(const std::string& name)
{
    return {ReasonCode::kMissing, Subject::Setting(kMember), Sentence(name, "is not there")};
}

/// The reason why a rule set is not enabled; `cause` is what is wrong with its file or rules.
Reason Refused(const std::string& name, Reason cause)
{
    return std::move(cause)
        .Causing(name, Sentence(name, "is refused; what was in force stays so"))
        .About(Subject::Setting(kMember));
}

/// What a request wants with a rule set.
struct Wanted {
    std::optional<std::string> rules;  ///< to be in force; nothing to be disabled
    bool remove = false;               ///< its file too
};

/// What this request has asked for and not put in force yet.
std::map<std::string, Wanted>& Pending()
{
    static std::map<std::string, Wanted> wanted;
    return wanted;
}

/// Tells of what was refused where nobody looks at results: in the log, in the audit line, by the
/// next restart of the scanner.
void Tell(const Reason& reason)
{
    LogReason(reason);
    NoteFailure(reason.text);
    daemons::MarkScanner();
}

/// Leaves nothing of an upload that was refused: the file of the set is again what is in force, or
/// gone; so are files that are no rule set's.
void RemoveUpload(const std::string& name)
{
    const std::string path = RuleFile(name);
    const RuleSets sets = EnabledSets();
    const auto inForce = sets.find(name);
    struct stat status {};
    if (inForce != sets.end()) {
        if (!ReplaceFile(path, inForce->second, 0600))
            Tell(SystemReason(Subject::Setting(kMember), "rule set"));
    } else if (!ClimbsUp(name) && lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        (void)unlink(path.c_str());
    }
    // What was moved to a name that is a folder stands in it under the name of the upload.
    for (const auto& entry : fs::directory_iterator(PackagePath("etc/rules"))) {
        const std::string file = entry.path().filename().string();
        if (file.rfind(names::kUploadedFile, 0) == 0) (void)unlink(entry.path().c_str());
    }
}

/// Refuses to enable a rule set.
void Refuse(const std::string& name, const Reason& reason)
{
    Tell(reason);
    if (NotedRequest().action == kUploadAction) RemoveUpload(name);
}

/// Adds the rule sets that the spam filter takes together with those that are there. Asks once for
/// all; after a refusal, for the halves, down to those that are to blame.
void AddGoodSets(RuleSets& sets, const RuleSets& added)
{
    if (added.empty()) return;
    RuleSets all = added;
    all.insert(sets.begin(), sets.end());
    Result<void> taken = save::SpamFilterTakes(names::TextOfRuleSets(all));
    if (taken) {
        sets = std::move(all);
        return;
    }
    const bool isJudged = taken.reason().code == ReasonCode::kDaemonRefuses;
    if (added.size() == 1 || !isJudged) {
        for (const auto& [name, rules] : added) Refuse(name, Refused(name, taken.reason()));
        return;
    }
    const auto middle = std::next(added.begin(), static_cast<std::ptrdiff_t>(added.size() / 2));
    AddGoodSets(sets, RuleSets(added.begin(), middle));
    AddGoodSets(sets, RuleSets(middle, added.end()));
}

Result<void> Enable(const std::string& name)
{
    if (!HasFile(name)) return NotThere(name);

    Result<std::string> rules = names::ReadRuleFile(RuleFile(name));
    if (!rules) return Refused(name, std::move(rules).reason());

    Pending()[name] = {*std::move(rules)};
    return {};
}

Result<void> Disable(const std::string& name)
{
    if (!HasFile(name) && EnabledSets().count(name) == 0) return NotThere(name);
    Pending()[name] = {};
    return {};
}

Result<void> Delete(const std::string& name)
{
    Result<void> disabled = Disable(name);
    if (disabled) Pending()[name].remove = true;
    return disabled;
}

/// Removes the files of the rule sets that are to be removed, which are disabled by now.
Result<void> RemoveFiles(const std::map<std::string, Wanted>& wanted)
{
    for (const auto& [name, want] : wanted) {
        if (!want.remove || !HasFile(name) || unlink(RuleFile(name).c_str()) == 0) continue;
        return SystemReason(Subject::Setting(kMember), "cannot remove a rule set");
    }
    return {};
}

/// Puts in force what this request has asked for: asks the spam filter once where all is good, and
/// makes one generation.
Result<void> PutInForce()
{
    const std::map<std::string, Wanted> wanted = std::exchange(Pending(), {});
    if (wanted.empty()) return {};
    const save::WriteScope scope;
    if (!scope.ready()) return scope.ready();

    const RuleSets inForce = EnabledSets();
    RuleSets sets = inForce;
    RuleSets added;
    for (const auto& [name, want] : wanted) {
        NoteChange("rule set '" + name.substr(0, kLongestToldName) + "'");
        const auto old = inForce.find(name);
        const bool isNew = old == inForce.end() || old->second != want.rules || want.rules->empty();
        if (!want.rules) sets.erase(name);
        if (want.rules && isNew) added[name] = *want.rules;
    }
    AddGoodSets(sets, added);
    Result<void> done =
        sets == inForce ? Result<void>() : save::ApplySpamRules(names::TextOfRuleSets(sets));
    return done ? RemoveFiles(wanted) : done;
}

void PutInForceOrTell()
{
    const Result<void> done = system::Attempt(kWhat, PutInForce);
    if (!done) Tell(done.reason());
}

/// Notes a change of a rule set. Only one that cannot be enabled counts as refused: one that is to
/// go and is not there is as it was wanted.
int Note(Result<void> (*change)(const std::string&), const std::string& name)
{
    const Result<void> noted = system::Attempt(kWhat, [change, &name] { return change(name); });
    if (noted) return 0;
    change == Enable ? Refuse(name, noted.reason()) : LogReason(noted.reason());
    return -1;
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
    host::lists::PutInForceOrTell();
    auto rules = host::system::Attempt(host::lists::kWhat, host::lists::AllRules);
    return host::Succeeded(rules) ? *std::move(rules) : std::list<SpamRule>();
}

int Spam::enableRule(const std::string& name)
{
    return host::lists::Note(host::lists::Enable, name);
}

int Spam::disableRule(const std::string& name)
{
    return host::lists::Note(host::lists::Disable, name);
}

int Spam::deleteRule(const std::string& name)
{
    return host::lists::Note(host::lists::Delete, name);
}

// Every request asks this after its changes, and restarts the scanner if so.
bool Spam::isEnableSpamassassin() const
{
    host::lists::PutInForceOrTell();
    const auto settings = host::settings::StoredSettings::Read();
    return host::Succeeded(settings) && settings->Bool("spam_enable");
}

std::string Spam::GetImportRulePath(const std::string& name)
{
    return host::lists::HasFile(name) ? host::lists::RuleFile(name) : "";
}
