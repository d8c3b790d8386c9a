// The section of the daily report.
#include <charconv>
#include <optional>

#include "host/libmailvane/pages/reporter.h"
#include "tools/document/section.h"

namespace document {

namespace {

using host::ReasonCode;
using host::Result;
using host::pages::kReportSettings;
using host::pages::ReportSetting;
using host::settings::SettingType;

std::string PathIn(const State& state)
{
    return state.folder + "/report.conf";
}

/// The value in stored spelling, or what is wrong with it.
std::optional<ReasonCode> Store(const ReportSetting& setting, std::string& text)
{
    if (setting.type == SettingType::kBool) {
        text = Switch(text);
        if (text != "yes" && text != "no") return ReasonCode::kNoChoice;
    }
    if (setting.type == SettingType::kInt) {
        int number = -1;
        const char* const end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        const bool isNumber = error == std::errc() && rest == end;
        if (!isNumber || number < 0 || number > setting.highest) return ReasonCode::kOutOfRange;
    }
    return std::nullopt;
}

/// The name of the setting that requests give as this member.
std::string NameOf(const std::string& member)
{
    for (const ReportSetting& setting : kReportSettings) {
        if (setting.member == member) return setting.name;
    }
    return member;
}

}  // namespace

std::string SecretOfReport()
{
    return "report_password";
}

Result<Entries> ReadReport(const Section& /*section*/, const State& state)
{
    const auto values = host::pages::ReadReport(PathIn(state));
    if (!values) return values.reason();
    Entries entries;
    for (const ReportSetting& setting : kReportSettings) {
        const std::string& stored = values->at(setting.name);
        const bool isHidden = setting.isPassword && !stored.empty();
        entries.push_back({setting.name, " " + Spelled(setting.type, stored) + "\n",
                           isHidden ? SecretOfReport() : "", setting.help});
    }
    return entries;
}

Result<void> MergeReport(const Section& section, const Node& node, Merge& merge)
{
    std::map<std::string, Line> values = ValuesOf(section, node, merge);
    std::map<std::string, std::string> changes;
    bool typesPassword = false;
    if (merge.prunes) {
        const auto defaults = host::pages::ReadReport("/dev/null/none");
        if (defaults) changes = *defaults;
    }
    for (const ReportSetting& setting : kReportSettings) {
        const auto value = values.find(setting.name);
        if (value == values.end()) continue;
        if (const auto fault = Store(setting, value->second.text)) {
            merge.faults.push_back({value->second.line, PathOf(section, setting.name), *fault, ""});
        }
        changes[setting.name] = value->second.text;
        typesPassword = typesPassword || (setting.isPassword && value->second.isTyped);
        values.erase(value);
    }
    for (const auto& [name, value] : values) {
        merge.faults.push_back({value.line, PathOf(section, name), ReasonCode::kMissing,
                                "there is no setting of this name"});
    }
    const Result<void> changed =
        host::pages::ChangeReport(PathIn(merge.state), changes, typesPassword);
    if (!changed) {
        const std::string name = NameOf(changed.reason().about.text());
        const Node* const value = node.Find(name);
        merge.faults.push_back(FaultAt(value == nullptr ? node.line : value->line,
                                       PathOf(section, name), changed.reason()));
    }
    return {};
}

}  // namespace document
