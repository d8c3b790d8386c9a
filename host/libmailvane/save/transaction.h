// Saving settings as one transaction: all of it is in force afterwards, or nothing has changed.
#pragma once

#include <list>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// What a save puts in force besides the settings.
struct SaveExtent {
    std::vector<generation::ListFile> files = {};  ///< replace those of the same path
    Lists lists = {};                              ///< made anew as they are stored
};

/// Renders the next generation of the daemons' files from `wanted`, validates it, activates it and
/// runs the steps. Requires the request lock. Fails when the files were refused (nothing changed)
/// or a step failed (the previous generation is in force again). Where it changes the account
/// combination, or ends a switch that began, the lists of the accounts come in force with it.
Result<void> SaveTransaction(settings::StoredSettings wanted, const std::list<Callback>& steps,
                             const SaveExtent& extent = {});

/// Renders all daemon files from the stored settings and stores, making the first generation where
/// there is none (from etc/mailvane.conf if it exists, else from the defaults), and the account
/// databases. Restarts no service.
Result<void> RenderAll();

/// Renders all daemon files from the stored settings as a save that changes no setting: validated,
/// in force afterwards, or taken back.
Result<void> ApplyStored();

/// What a machine does before its mail services start: finishes an interrupted save, and renders
/// anew when the kernel has got or lost IPv6, since a server that is to listen where it cannot does
/// not start.
Result<void> RecoverAll();

}  // namespace host::save
