// Saving settings as one transaction: all of it is in force afterwards, or nothing has changed.
#pragma once

#include <functional>
#include <list>
#include <optional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// What a save does last before its commit, with the name of the generation that comes in force. It
/// refuses the save when it fails.
using BeforeCommit = std::function<Result<void>(const std::string& generation)>;

/// What a save puts in force besides the settings.
struct SaveExtent {
    std::optional<std::string> rules = {};              ///< of the spam filter
    Lists lists = {};                                   ///< made anew as they are stored
    render::Silence silence = render::Silence::kFails;  ///< of the account source
    std::string folder = {};                            ///< with the lists; empty for etc/
    std::list<Callback>* ran = nullptr;                 ///< gets the plan that was run, if set
    std::string generation = {};  ///< an earlier one, whose files are taken instead of all that
    BeforeCommit beforeCommit = nullptr;  ///< if set, there is a new generation in any case
};

/// Renders the next generation from `wanted`, validates it, activates it and runs the steps.
/// Requires the request lock. Fails when the generation was refused (nothing has changed) or a step
/// failed (the previous generation is in force again). Where it changes the account combination, or
/// ends a switch that began, the lists of the accounts come in force with it.
Result<void> SaveTransaction(settings::StoredSettings wanted, const std::list<Callback>& steps,
                             const SaveExtent& extent = {});

/// The plan that a save would run. Its generation is made, validated and removed again.
Result<std::list<Callback>> Rehearse(const settings::StoredSettings& wanted,
                                     const std::list<Callback>& steps, const SaveExtent& extent);

/// Renders all daemon files from the stored settings and lists, and heals the account databases.
/// Where there is no generation, makes the first one from etc/mailvane.conf or, without it, the
/// defaults. Restarts no service.
Result<void> RenderAll();

/// Saves the stored settings again without a change: all files are rendered, validated and
/// activated, or rolled back.
Result<void> ApplyStored();

/// Prepares a starting machine, before its mail services: finishes an interrupted save, takes back
/// a change that was not confirmed in time, and renders anew when the kernel has gained or lost
/// IPv6. A server told to listen on IPv6 without it does
/// not start.
Result<void> RecoverAll();

}  // namespace host::save
