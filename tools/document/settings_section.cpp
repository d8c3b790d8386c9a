// The sections of what a generation stores: settings, domains, blocklists, the address that gets a
// copy of all mail.
#include <algorithm>
#include <sstream>

#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/relay_login.h"
#include "host/libmailvane/settings/settings_rows.h"
#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "tools/document/section.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::settings::SettingRow;
using host::settings::SettingType;

/// Sets a value of the document, or adds what is wrong with it to the faults.
void Set(const Section& section, const std::string& name, const Line& value, Merge& merge)
{
    const auto* const setting = host::settings::FindSetting(name);
    if (setting == nullptr) {
        merge.faults.push_back({value.line, PathOf(section, name), ReasonCode::kMissing,
                                "there is no setting of this name"});
        return;
    }
    const std::string text = setting->type == SettingType::kBool ? Switch(value.text) : value.text;
    if (const auto fault = host::settings::FaultOf(*setting, text)) {
        merge.faults.push_back({value.line, PathOf(section, name), *fault, ""});
        return;
    }
    merge.state.settings.Set(name, text);
}

/// Sets what the document does not mention to its default.
void SetDefaults(const std::map<std::string, Line>& values, Merge& merge)
{
    for (const auto& setting : host::settings::AllSettings()) {
        if (values.count(setting.name) == 0)
            merge.state.settings.Set(setting.name, setting.fallback);
    }
}

/// The reason's own line where it is about a setting of the document; else that of the section.
int LineOf(const Reason& reason, const std::map<std::string, Line>& values, int otherwise)
{
    const auto value = values.find(reason.about.text());
    return value == values.end() ? otherwise : value->second.line;
}

template <typename T>
Entries LinesOfAll(const std::list<T>& list, std::string (*text)(const T&))
{
    Entries entries;
    for (const T& one : list) entries.push_back({text(one), "", "", ""});
    return entries;
}

/// Merges a list that has an order: what is there stays in its place, what is new follows.
template <typename T>
void MergeList(std::list<T>& stored, const std::vector<T>& wanted, bool prunes)
{
    if (prunes) stored.clear();
    for (const T& one : wanted) {
        if (std::find(stored.begin(), stored.end(), one) == stored.end()) stored.push_back(one);
    }
}

std::string Same(const std::string& text)
{
    return text;
}

std::string TextOf(const host::settings::Blocklist& list)
{
    return list.server + " " + list.type;
}

}  // namespace

Result<Entries> ReadSettings(const Section& /*section*/, const State& state)
{
    Entries entries;
    host::settings::ForEachRow([&](const SettingRow& row) {
        const std::string name = row.name.text;
        const std::string& stored = state.settings.Spelled(name);
        const bool isHidden = row.value.isPassword && !stored.empty();
        entries.push_back({name, " " + Spelled(row.value.type, stored) + "\n",
                           isHidden ? SecretOfSetting(name) : "", std::string(row.help.text)});
    });
    return entries;
}

std::string SecretOfSetting(const std::string& name)
{
    constexpr std::string_view kFamily = "smtp_";
    return name.rfind(kFamily, 0) == 0 ? name.substr(kFamily.size()) : name;
}

Result<void> MergeSettings(const Section& section, const Node& node, Merge& merge)
{
    const auto stored = host::settings::StoredSettings::Read();
    if (!stored) return stored.reason();
    const std::map<std::string, Line> values = ValuesOf(section, node, merge);
    if (merge.prunes) SetDefaults(values, merge);
    std::set<std::string> given;
    for (const auto& [name, value] : values) {
        Set(section, name, value, merge);
        if (value.isTyped) given.insert(name);
    }
    const Result<void> judged = host::pages::JudgeRelayLogin(*stored, merge.state.settings, given);
    if (!judged) {
        const Reason& reason = judged.reason();
        merge.faults.push_back(FaultAt(LineOf(reason, values, node.line),
                                       PathOf(section, reason.about.text()), reason));
    }
    return {};
}

Result<Entries> ReadDomains(const Section& /*section*/, const State& state)
{
    return LinesOfAll(state.settings.domains, Same);
}

Result<void> MergeDomains(const Section& section, const Node& node, Merge& merge)
{
    std::vector<std::string> domains;
    for (const Line& line : LinesOf(section, node, merge)) {
        if (const auto domain = host::names::StoredMailDomain(line.text)) {
            domains.push_back(*domain);
        } else {
            merge.faults.push_back({line.line, std::string(section.name), ReasonCode::kBadFormat,
                                    "is no mail domain"});
        }
    }
    MergeList(merge.state.settings.domains, domains, merge.prunes);
    return {};
}

Result<Entries> ReadBlocklists(const Section& /*section*/, const State& state)
{
    return LinesOfAll(state.settings.blocklists, TextOf);
}

Result<void> MergeBlocklists(const Section& section, const Node& node, Merge& merge)
{
    std::vector<host::settings::Blocklist> lists;
    for (const Line& line : LinesOf(section, node, merge)) {
        std::istringstream words(line.text);
        host::settings::Blocklist list;
        std::string more;
        words >> list.server >> list.type >> more;
        const auto server = host::names::StoredMailDomain(list.server);
        const bool isType = more.empty() && host::names::IsBlocklistType(list.type);
        if (server && isType) {
            lists.push_back({*server, list.type});
        } else {
            merge.faults.push_back({line.line, std::string(section.name),
                                    server ? ReasonCode::kNoChoice : ReasonCode::kBadFormat,
                                    "is no zone with rbl_client, rhsbl_sender or rhsbl_helo"});
        }
    }
    MergeList(merge.state.settings.blocklists, lists, merge.prunes);
    return {};
}

Result<Entries> ReadCopiesOfAll(const Section& /*section*/, const State& state)
{
    const std::string address = state.settings.AlwaysBcc();
    return address.empty() ? Entries() : Entries{{address, "", "", ""}};
}

Result<void> MergeCopiesOfAll(const Section& section, const Node& node, Merge& merge)
{
    const std::vector<Line> lines = LinesOf(section, node, merge);
    if (merge.prunes) merge.state.settings.SetAlwaysBcc("");
    if (lines.size() > 1) {
        merge.faults.push_back({lines[1].line, std::string(section.name), ReasonCode::kTooMany,
                                "only one address gets a copy of all mail"});
    } else if (!lines.empty()) {
        const Result<std::string> target = host::stores::StoredCopyTarget(lines.front().text);
        if (target) {
            merge.state.settings.SetAlwaysBcc(*target);
        } else {
            merge.faults.push_back(
                FaultAt(lines.front().line, std::string(section.name), target.reason()));
        }
    }
    return {};
}

}  // namespace document
