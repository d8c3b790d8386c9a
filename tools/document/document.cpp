// A document: the whole stored state as text, and what lies between two of them.
#include "tools/document/document.h"

#include <algorithm>

#include "host/libmailvane/pages/reporter.h"
#include "host/libmailvane/settings/settings_rows.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

using host::ReasonCode;
using host::Result;

constexpr char kOtherSecret[] = "!other_secret ";

/// What follows the colon of an entry.
std::string ShownValue(const Entry& entry, Secrets secrets)
{
    const bool isHidden = secrets == Secrets::kNamed && !entry.secret.empty();
    return isHidden ? " !secret " + entry.secret + "\n" : entry.value;
}

std::string TextOfEntry(const Section& section, const Entry& entry, Secrets secrets)
{
    if (section.form == Form::kLines) return "- " + Quoted(entry.key) + "\n";
    return (entry.comment.empty() ? "" : Comment(entry.comment, 2)) + "  " + Quoted(entry.key) +
           ":" + ShownValue(entry, secrets);
}

std::string TextOfPart(const Part& part, Secrets secrets)
{
    std::string text = "\n" + Comment(part.section->help, 0) + std::string(part.section->name);
    if (part.entries.empty()) {
        return text + (part.section->form == Form::kLines ? ": []\n" : ": {}\n");
    }
    text += ":\n";
    for (const Entry& entry : part.entries) text += TextOfEntry(*part.section, entry, secrets);
    return text;
}

std::map<std::string, const Entry*> ByKey(const Part& part)
{
    std::map<std::string, const Entry*> entries;
    for (const Entry& entry : part.entries) entries[entry.key] = &entry;
    return entries;
}

bool InSameOrder(const Part& one, const Part& other)
{
    return std::equal(
        one.entries.begin(), one.entries.end(), other.entries.begin(), other.entries.end(),
        [](const Entry& first, const Entry& second) { return first.key == second.key; });
}

/// Adds what lies between two states of one section.
void Compare(const Part& before, Part& after, std::vector<Difference>& differences)
{
    using Kind = Difference::Kind;
    const std::size_t count = differences.size();
    const auto old = ByKey(before);
    for (Entry& entry : after.entries) {
        const auto found = old.find(entry.key);
        if (found != old.end() && found->second->value == entry.value) continue;
        const bool isOther = found != old.end() && !found->second->secret.empty();
        const std::string was =
            found == old.end() ? "" : ShownValue(*found->second, Secrets::kNamed);
        if (isOther && !entry.secret.empty()) {
            entry.value = " " + (kOtherSecret + entry.secret) + "\n";
            entry.secret.clear();
        }
        differences.push_back({after.section, entry.key, was, ShownValue(entry, Secrets::kNamed),
                               found == old.end() ? Kind::kAdded : Kind::kChanged});
    }
    const auto now = ByKey(after);
    for (const Entry& entry : before.entries) {
        if (now.count(entry.key) != 0) continue;
        differences.push_back(
            {after.section, entry.key, ShownValue(entry, Secrets::kNamed), "", Kind::kRemoved});
    }
    if (differences.size() == count && !InSameOrder(before, after)) {
        differences.push_back({after.section, "", "", "", Kind::kMoved});
    }
}

const Section* FindSection(const std::string& name)
{
    const auto* const found =
        std::find_if(AllSections().begin(), AllSections().end(),
                     [&name](const Section& section) { return section.name == name; });
    return found == AllSections().end() ? nullptr : found;
}

}  // namespace

const char* const kHead =
    R"(# The settings and lists of this mail server: docs/document.md tells about them. Not in it: keys,
# certificates, mail, passwords of users.
)";

bool CheckFormat(const Node& document, Faults& faults)
{
    if (document.kind != Node::Kind::kMap) {
        faults.push_back({document.line, "", ReasonCode::kBadFormat, "is no document"});
        return false;
    }
    const Node* const format = document.Find(kFormatName);
    if (format == nullptr) {
        faults.push_back(
            {document.line, kFormatName, ReasonCode::kEmpty, "a document begins with its format"});
    } else if (format->text != std::to_string(kFormat)) {
        faults.push_back({format->line, kFormatName, ReasonCode::kNoChoice,
                          "this program knows another format"});
    }
    return true;
}

void CheckSections(const Node& document, Faults& faults)
{
    for (const auto& [name, value] : document.members) {
        if (name.text != kFormatName && FindSection(name.text) == nullptr) {
            faults.push_back(
                {name.line, name.text, ReasonCode::kMissing, "there is no section of this name"});
        }
    }
}

void SortByLine(Faults& faults)
{
    std::stable_sort(faults.begin(), faults.end(),
                     [](const Fault& one, const Fault& other) { return one.line < other.line; });
}

Result<Parts> ReadParts(const State& state, bool withPersonal)
{
    Parts parts;
    for (const Section& section : AllSections()) {
        if (section.name == kPersonalSection && !withPersonal) continue;
        Result<Entries> entries = section.read(section, state);
        if (!entries) return std::move(entries).reason();
        parts.push_back({&section, *std::move(entries)});
    }
    return parts;
}

std::string TextOf(const Parts& parts, Secrets secrets, const std::string& head)
{
    std::string text = head;
    text += std::string(kFormatName) + ": " + std::to_string(kFormat) + "\n";
    for (const Part& part : parts) text += TextOfPart(part, secrets);
    return text;
}

std::map<std::string, Secret> StoredSecrets(const State& state)
{
    std::map<std::string, Secret> secrets;
    host::settings::ForEachRow([&](const host::settings::SettingRow& row) {
        const std::string& stored = state.settings.Spelled(row.name.text);
        if (row.value.isPassword && !stored.empty()) {
            secrets[SecretOfSetting(row.name.text)] = {stored, false};
        }
    });
    const auto report = host::pages::ReadReport(state.folder + "/report.conf");
    for (const auto& setting : host::pages::kReportSettings) {
        if (!setting.isPassword || !report || report->at(setting.name).empty()) continue;
        secrets[SecretOfReport()] = {report->at(setting.name), false};
    }
    return secrets;
}

std::vector<Difference> DifferencesOf(const Parts& before, Parts& after)
{
    std::vector<Difference> differences;
    for (std::size_t number = 0; number < before.size(); ++number) {
        Compare(before[number], after[number], differences);
    }
    return differences;
}

Result<void> MergeDocument(const Node& document, Merge& merge)
{
    CheckSections(document, merge.faults);
    for (const Section& section : AllSections()) {
        const Node* const node = document.Find(std::string(section.name));
        Result<void> merged;
        if (node != nullptr) merged = section.merge(section, *node, merge);
        if (merged && section.name == kSettingsSection) merged = merge.bringLists();
        if (!merged) return merged;
    }
    SortByLine(merge.faults);
    return {};
}

}  // namespace document
