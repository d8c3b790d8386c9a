// What lies between two documents or generations. Reads the generations that are kept.
#include "tools/document/comparison.h"

#include <algorithm>
#include <ctime>
#include <optional>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/pages/reporter.h"
#include "host/libmailvane/settings/settings_rows.h"
#include "tools/document/yaml_text.h"
#include "upkeep/history/kept_states.h"

namespace document {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::settings::SettingType;

constexpr char kReportSection[] = "report";
constexpr int kDepth = 2;  // blanks before the entries of a section

std::string NamedSecret(const std::string& name)
{
    return " !secret " + name + "\n";
}

/// Whether a generation holds a section: what lies in no stored file.
bool IsInGenerations(const Section& section)
{
    return section.file.empty();
}

/// What is known about a value of `settings` or `report`.
struct ValueInfo {
    SettingType type = SettingType::kText;
    std::string secret;  ///< its name, for a password
};

std::optional<ValueInfo> FindSetting(const std::string& name)
{
    std::optional<ValueInfo> found;
    host::settings::ForEachRow([&](const host::settings::SettingRow& row) {
        if (row.name.text != name) return;
        found = ValueInfo{row.value.type, row.value.isPassword ? SecretOfSetting(name) : ""};
    });
    return found;
}

std::optional<ValueInfo> FindReportSetting(const std::string& name)
{
    for (const auto& setting : host::pages::kReportSettings) {
        if (setting.name != name) continue;
        return ValueInfo{setting.type, setting.isPassword ? SecretOfReport() : ""};
    }
    return std::nullopt;
}

/// A node as a text in YAML, in one form only: what follows its name.
std::string Canonical(const Node& node, int depth)
{
    const std::string margin(static_cast<std::size_t>(depth), ' ');
    if (node.isSecret) return NamedSecret(node.text);
    if (node.kind == Node::Kind::kText) return Valued(node.text, depth);
    std::string text;
    for (const Node& item : node.items) {
        text.append(margin).append("-").append(Canonical(item, depth + kDepth));
    }
    for (const auto& [name, value] : node.members) {
        text.append(margin).append(Quoted(name.text)).append(":");
        text.append(Canonical(value, depth + kDepth));
    }
    if (!text.empty()) return "\n" + text;
    return node.kind == Node::Kind::kList ? " []\n" : " {}\n";
}

/// The value of a setting in the form of an export.
Entry EntryOf(const Section& section, const std::string& name, const Node& value,
              const ValueInfo& info, Merge& merge)
{
    if (value.kind != Node::Kind::kText) {
        merge.faults.push_back(
            {value.line, PathOf(section, name), ReasonCode::kBadFormat, "is no single value"});
    }
    if (value.isSecret) return {name, NamedSecret(value.text), "", ""};
    const bool isSwitch = info.type == SettingType::kBool;
    const std::string text = Spelled(info.type, isSwitch ? Switch(value.text) : value.text);
    return {name, " " + text + "\n", value.text.empty() ? "" : info.secret, ""};
}

/// The entries of a map of settings, in the order of their names.
Entries SettingsOf(const Section& section, const Node& node, Merge& merge)
{
    Entries entries;
    for (const auto& [name, value] : node.members) {
        const auto info =
            section.name == kReportSection ? FindReportSetting(name.text) : FindSetting(name.text);
        if (info) {
            entries.push_back(EntryOf(section, name.text, value, *info, merge));
        } else {
            merge.faults.push_back({name.line, PathOf(section, name.text), ReasonCode::kMissing,
                                    "there is no setting of this name"});
        }
    }
    return entries;
}

Entries MembersOf(const Section& section, const Node& node, Merge& merge)
{
    if (!IsMap(section, node, merge)) return {};
    if (section.name == kSettingsSection || section.name == kReportSection) {
        return SettingsOf(section, node, merge);
    }
    Entries entries;
    for (const auto& [name, value] : node.members) {
        entries.push_back({name.text, Canonical(value, 2 * kDepth), "", ""});
    }
    return entries;
}

/// A list that a generation holds is read as one is stored: its order counts.
Result<Entries> ListOf(const Section& section, const Node& node, Merge& merge)
{
    if (IsInGenerations(section)) {
        const Result<void> merged = section.merge(section, node, merge);
        if (!merged) return merged.reason();
        return section.read(section, merge.state);
    }
    Entries entries;
    for (const Line& line : LinesOf(section, node, merge)) {
        entries.push_back({line.text, "", "", ""});
    }
    return entries;
}

void PutInOrder(const Section& section, Entries& entries)
{
    if (section.form == Form::kLines && IsInGenerations(section)) return;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& one, const Entry& other) { return one.key < other.key; });
}

const Part* FindPart(const Parts& parts, const Section* section)
{
    const auto found = std::find_if(parts.begin(), parts.end(), [section](const Part& part) {
        return part.section == section;
    });
    return found == parts.end() ? nullptr : &*found;
}

/// Lets a secret that one side only names be that of the other, which holds it.
void MatchSecrets(const Part& holder, Part& other)
{
    for (const Entry& held : holder.entries) {
        if (held.secret.empty()) continue;
        for (Entry& named : other.entries) {
            const bool isSame = named.key == held.key && named.value == NamedSecret(held.secret);
            if (isSame) named = held;
        }
    }
}

std::string DateText(std::int64_t date)
{
    const auto when = static_cast<std::time_t>(date);
    std::tm parts{};
    (void)gmtime_r(&when, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts)};
}

Result<upkeep::KeptState> Find(std::uint64_t number)
{
    auto state = upkeep::FindKeptState(number);
    if (state) return *std::move(state);
    return Reason{ReasonCode::kMissing, host::Subject::Setting("number"),
                  "there is no generation " + std::to_string(number)};
}

Result<Parts> PartsIn(const upkeep::KeptState& kept)
{
    const std::string folder = host::generation::GenerationDirectory(kept.name);
    auto settings = host::settings::StoredSettings::ReadFrom(folder);
    if (!settings) return std::move(settings).reason();
    const State state{folder, *std::move(settings), ""};
    Parts parts;
    for (const Section& section : AllSections()) {
        if (!IsInGenerations(section)) continue;
        Result<Entries> entries = section.read(section, state);
        if (!entries) return std::move(entries).reason();
        parts.push_back({&section, *std::move(entries)});
    }
    return parts;
}

std::string HeadOf(const upkeep::KeptState& kept)
{
    std::string lacks;
    for (const Section& section : AllSections()) {
        if (!IsInGenerations(section)) lacks.append(section.name).append(", ");
    }
    return Comment("Generation " + std::to_string(kept.number) +
                       " of the settings of this mail server, made " + DateText(kept.origin.date) +
                       ": docs/document.md tells about it. Not in it, since no generation holds"
                       " them: " +
                       lacks + "keys, certificates, mail, passwords of users.",
                   0);
}

}  // namespace

Result<Parts> PartsOfGeneration(std::uint64_t number)
{
    const Result<upkeep::KeptState> kept = Find(number);
    if (!kept) return kept.reason();
    return PartsIn(*kept);
}

Result<std::string> TextOfGeneration(std::uint64_t number)
{
    const Result<upkeep::KeptState> kept = Find(number);
    if (!kept) return kept.reason();
    const Result<Parts> parts = PartsIn(*kept);
    if (!parts) return parts.reason();
    return TextOf(*parts, Secrets::kNamed, HeadOf(*kept));
}

Parts PartsOf(const std::string& text, Faults& faults)
{
    const auto read = ReadYaml(text);
    if (const auto* const fault = std::get_if<Fault>(&read)) {
        faults.push_back(*fault);
        return {};
    }
    const Node& document = std::get<Node>(read);
    if (!CheckFormat(document, faults)) return {};
    CheckSections(document, faults);
    State state;
    Merge merge{state, true, {}, faults, [] { return Result<void>(); }};
    Parts parts;
    for (const Section& section : AllSections()) {
        const Node* const node = document.Find(std::string(section.name));
        if (node == nullptr) continue;
        Result<Entries> entries = section.form == Form::kLines ? ListOf(section, *node, merge)
                                                               : MembersOf(section, *node, merge);
        if (!entries) {
            faults.push_back(FaultAt(node->line, std::string(section.name), entries.reason()));
            continue;
        }
        PutInOrder(section, *entries);
        parts.push_back({&section, *std::move(entries)});
    }
    SortByLine(faults);
    return parts;
}

Comparison Compare(const Parts& before, const Parts& after)
{
    Comparison comparison;
    Parts olds;
    Parts news;
    for (const Section& section : AllSections()) {
        const Part* const old = FindPart(before, &section);
        const Part* const now = FindPart(after, &section);
        if (old != nullptr && now != nullptr) {
            olds.push_back(*old);
            news.push_back(*now);
            // The order of a map says nothing.
            if (section.form != Form::kLines) PutInOrder(section, olds.back().entries);
            if (section.form != Form::kLines) PutInOrder(section, news.back().entries);
            MatchSecrets(olds.back(), news.back());
            MatchSecrets(news.back(), olds.back());
        } else if (old != nullptr) {
            comparison.onlyBefore.emplace_back(section.name);
        } else if (now != nullptr) {
            comparison.onlyAfter.emplace_back(section.name);
        }
    }
    comparison.differences = DifferencesOf(olds, news);
    comparison.before = TextOf(olds, Secrets::kNamed);
    comparison.after = TextOf(news, Secrets::kNamed);
    return comparison;
}

}  // namespace document
