// The table of all settings: name, type, default, range and meaning of each.
#pragma once

#include <string>
#include <vector>

namespace host::settings {

/// Which settings object shows a setting.
enum class SettingsObject { kPostfix, kImapPop3, kMailScanner };

enum class SettingType { kInt, kText, kBool };

struct SettingInfo {
    SettingsObject object;
    const char* name;
    SettingType type;
    const char* fallback;                 ///< the default, spelled as it is stored
    int lowest;                           ///< ints: smallest value; texts: fewest bytes
    int highest;                          ///< ints: greatest value; texts: most bytes
    bool (*accepts)(const std::string&);  ///< texts: what else a value must be
    const char* meaning;
};

/// Every setting, grouped by object, in the order of the key lists.
const std::vector<SettingInfo>& AllSettings();

/// The row of a setting, null for an unknown name.
const SettingInfo* FindSetting(const std::string& name);

/// Whether `text` (spelled as it is stored) is a value that the setting can take.
bool SettingAccepts(const SettingInfo& setting, const std::string& text);

}  // namespace host::settings
