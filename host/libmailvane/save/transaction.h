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

/// The scope of every operation that changes stored state: holds the request lock, and finishes an
/// interrupted save first.
class WriteScope {
public:
    WriteScope();

    /// Success when changes are allowed; the reason when the lock was not obtained in time or the
    /// interrupted save could not be finished.
    const Result<void>& ready() const { return ready_; }

private:
    ScopedLock lock_;
    Result<void> ready_;
};

/// Renders the next generation from `wanted`, validates it, activates it and runs the steps.
/// `files` replace the files of the same path. Requires the request lock. Fails when the generation
/// was refused (nothing has changed) or a step failed (the previous generation is in force again).
Result<void> SaveTransaction(const settings::StoredSettings& wanted,
                             const std::list<Callback>& steps,
                             const std::vector<generation::ListFile>& files = {});

/// Completes or undoes the save of a killed process. Does nothing unless this process itself took
/// the request lock. Fails when the account databases or stored files cannot be repaired.
Result<void> FinishInterruptedSave();

/// Renders all daemon files from the stored settings and lists, and heals the account databases.
/// Where there is no generation, makes the first one from etc/mailvane.conf or, without it, the
/// defaults. Restarts no service.
Result<void> RenderAll();

/// Saves the stored settings again without a change: all files are rendered, validated and
/// activated, or rolled back.
Result<void> ApplyStored();

/// Prepares a starting machine, before its mail services: finishes an interrupted save, and renders
/// anew when the kernel has gained or lost IPv6. A server told to listen on IPv6 without it does
/// not start.
Result<void> RecoverAll();

}  // namespace host::save
