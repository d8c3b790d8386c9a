// The state of the settings objects.
#pragma once

#include <boost/any.hpp>
#include <list>
#include <set>
#include <string>
#include <unordered_map>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

struct Config::State {
    host::settings::SettingsObject object = host::settings::SettingsObject::kPostfix;
    std::unordered_map<std::string, boost::any> values;
    std::set<std::string> changed;               ///< names set since the load
    host::settings::AccountCombination account;  ///< the account combination when loaded
    std::list<std::string> domains;
    std::list<host::settings::Blocklist> blocklists;
    bool listsChanged = false;
    bool loaded = false;
    bool saved = false;    ///< a save has succeeded since the load
    bool refused = false;  ///< a setter has refused a value
    boost::any nothing;    ///< returned for an unknown name
};

namespace host::pages {

/// Loading and saving of all settings classes. Results: 0, or negative on failure.
int LoadConfig(Config::State& state);
int SaveConfig(Config::State& state, const std::list<Callback>& steps);

/// Logs what was refused and makes the next save fail. Returns a negative number.
int Refuse(Config::State& state, const Reason& reason);

}  // namespace host::pages
