// The table of all settings, as the program needs it: name, type, default and range of each. What
// people are told about them stands in the same rows (setting_row.h), but not in the program.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "host/libhaldcore/reason_code.h"

namespace host::settings {

/// The settings object that has a setting.
enum class SettingsObject { kPostfix, kImapPop3, kMailScanner };

enum class SettingType { kInt, kText, kBool };

inline constexpr std::size_t kMostChoices = 4;

struct SettingInfo {
    SettingsObject object;
    const char* name;
    SettingType type;
    const char* fallback;                 ///< the default, in stored spelling
    int lowest;                           ///< numbers: smallest value; texts: fewest bytes
    int highest;                          ///< numbers: largest value; texts: most bytes
    bool (*accepts)(const std::string&);  ///< texts: a further check of the value; may be null
    std::array<const char*, kMostChoices> choices;  ///< the only values, null behind them
};

/// All rows, grouped by object, in the order of the key lists.
class SettingsTable {
public:
    SettingsTable(const SettingInfo* first, const SettingInfo* last) : first_(first), last_(last) {}
    const SettingInfo* begin() const { return first_; }
    const SettingInfo* end() const { return last_; }

private:
    const SettingInfo* first_;
    const SettingInfo* last_;
};

SettingsTable AllSettings();

/// The row of a setting; null for an unknown name.
const SettingInfo* FindSetting(const std::string& name);

/// Why `text`, in stored spelling, is no value of the setting; nothing when it is one.
std::optional<ReasonCode> FaultOf(const SettingInfo& setting, const std::string& text);

/// Whether it is one.
bool SettingAccepts(const SettingInfo& setting, const std::string& text);

}  // namespace host::settings
