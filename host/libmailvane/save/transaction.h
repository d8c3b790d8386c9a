// Saving settings as one transaction: all of it is in force afterwards, or nothing has changed.
#pragma once

#include <list>
#include <vector>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// What every operation that changes stored state stands in.
/// Holds the request lock and has an interrupted save finished first.
class WriteScope {
public:
    WriteScope();

    /// Whether anything may be written: not when the lock was not had in time or the interrupted
    /// save could not be finished.
    const Result<void>& ready() const { return ready_; }

private:
    ScopedLock lock_;
    Result<void> ready_;
};

/// Renders the next generation of the daemons' files from `wanted`, validates it, activates it and
/// runs the steps. Requires the request lock. Fails when the files were refused (nothing changed)
/// or a step failed (the previous generation is in force again). `files` replace those of the same
/// path in the generation.
Result<void> SaveTransaction(const settings::StoredSettings& wanted,
                             const std::list<Callback>& steps,
                             const std::vector<generation::ListFile>& files = {});

/// Finishes or undoes the save that a killed process left behind, when this process holds the
/// request lock; does nothing otherwise. Fails when the services cannot be brought in line.
Result<void> FinishInterruptedSave();

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
