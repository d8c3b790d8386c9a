// What the settings classes keep in memory.
#pragma once

#include <boost/any.hpp>
#include <list>
#include <set>
#include <string>
#include <unordered_map>

#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

struct Config::State {
    host::settings::SettingsObject object = host::settings::SettingsObject::kPostfix;
    std::unordered_map<std::string, boost::any> values;
    std::set<std::string> changed;               ///< names set since the load
    host::settings::AccountCombination account;  ///< whose accounts are served, as loaded
    std::list<std::string> domains;
    std::list<host::settings::Blocklist> blocklists;
    bool listsChanged = false;
    bool loaded = false;
    bool saved = false;    ///< what was loaded has been stored
    bool refused = false;  ///< a setter was given what it cannot take
    boost::any nothing;    ///< what an unknown name yields
};

namespace host::pages {

/// The calls of the settings classes, on their state. Results are those of the classes.
int LoadConfig(Config::State& state);
int SaveConfig(Config::State& state, const std::list<Callback>& steps);

/// Marks the state, so that the next save fails, and logs what was refused. Negative.
int Refuse(Config::State& state, const char* what);

}  // namespace host::pages
