// The table of all settings: name, type, default and range of each.
#include "host/libmailvane/settings/settings_table.h"

#include <algorithm>
#include <charconv>

#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/settings/settings_rows.h"

namespace host::settings {

namespace {

constexpr SettingInfo InfoOf(const SettingRow& row)
{
    const Value& value = row.value;
    SettingInfo info{row.object,   row.name.text, value.type, value.fallback,
                     value.lowest, value.highest, nullptr,    {}};
    const bool hasFormat = value.type == SettingType::kText && value.choiceCount == 0;
    if (hasFormat) info.accepts = value.format->accepts;
    for (std::size_t number = 0; number < value.choiceCount; ++number) {
        info.choices[number] = value.choices[number].value;
    }
    return info;
}

constexpr std::size_t CountRows()
{
    std::size_t count = 0;
    ForEachRow([&count](const SettingRow& /*row*/) { ++count; });
    return count;
}

// Made of the rows by the compiler, so that the program has none of their texts for people.
constexpr std::array<SettingInfo, CountRows()> kTable = [] {
    std::array<SettingInfo, CountRows()> table{};
    std::size_t next = 0;
    ForEachRow([&](const SettingRow& row) { table[next++] = InfoOf(row); });
    return table;
}();

bool IsChoice(const SettingInfo& setting, const std::string& text)
{
    return std::any_of(setting.choices.begin(), setting.choices.end(),
                       [&text](const char* choice) { return choice != nullptr && text == choice; });
}

bool IsIntBetween(const std::string& text, int lowest, int highest)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number >= lowest && number <= highest;
}

std::optional<ReasonCode> FaultOfText(const SettingInfo& setting, const std::string& text)
{
    if (setting.choices.front() != nullptr) {
        return IsChoice(setting, text) ? std::nullopt : std::optional(ReasonCode::kNoChoice);
    }
    if (text.size() > static_cast<std::string::size_type>(setting.highest)) {
        return ReasonCode::kTooLong;
    }
    if (!names::IsPlainText(text)) return ReasonCode::kNotText;
    if (text.size() < static_cast<std::string::size_type>(setting.lowest)) {
        return ReasonCode::kEmpty;
    }
    return setting.accepts(text) ? std::nullopt : std::optional(ReasonCode::kBadFormat);
}

}  // namespace

SettingsTable AllSettings()
{
    return {kTable.data(), kTable.data() + kTable.size()};
}

const SettingInfo* FindSetting(const std::string& name)
{
    const auto* const row =
        std::find_if(kTable.begin(), kTable.end(),
                     [&name](const SettingInfo& info) { return name == info.name; });
    return row == kTable.end() ? nullptr : row;
}

std::optional<ReasonCode> FaultOf(const SettingInfo& setting, const std::string& text)
{
    if (setting.type == SettingType::kText) return FaultOfText(setting, text);
    if (setting.type == SettingType::kBool) {
        return text == "yes" || text == "no" ? std::nullopt : std::optional(ReasonCode::kNoChoice);
    }
    return IsIntBetween(text, setting.lowest, setting.highest)
               ? std::nullopt
               : std::optional(ReasonCode::kOutOfRange);
}

bool SettingAccepts(const SettingInfo& setting, const std::string& text)
{
    return !FaultOf(setting, text);
}

}  // namespace host::settings
