// The table of all settings: name, type, default, range and meaning of each.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/reason_code.h"

namespace host::settings {

/// The settings object that has a setting.
enum class SettingsObject { kPostfix, kImapPop3, kMailScanner };

enum class SettingType { kInt, kText, kBool };

struct SettingInfo {
    SettingsObject object;
    const char* name;
    SettingType type;
    const char* fallback;                 ///< the default, in stored spelling
    int lowest;                           ///< numbers: smallest value; texts: fewest bytes
    int highest;                          ///< numbers: largest value; texts: most bytes
    bool (*accepts)(const std::string&);  ///< texts: a further check of the value
    const char* meaning;
};

/// Every setting, grouped by object, in the order of the key lists.
const std::vector<SettingInfo>& AllSettings();

/// The row of a setting; null for an unknown name.
const SettingInfo* FindSetting(const std::string& name);

/// Why `text`, in stored spelling, is no value of the setting; nothing when it is one.
std::optional<ReasonCode> FaultOf(const SettingInfo& setting, const std::string& text);

/// Whether it is one.
bool SettingAccepts(const SettingInfo& setting, const std::string& text);

}  // namespace host::settings
