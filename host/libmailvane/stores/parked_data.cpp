// The folder of the account data that is parked, target/etc/alias_bkp.
#include "host/libmailvane/stores/parked_data.h"

#include <cstdio>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/system/copies.h"
#include "host/libmailvane/system/durable_move.h"

namespace fs = std::filesystem;

namespace host::stores {

std::string ParkingFolder()
{
    return PackagePath("target/etc/alias_bkp");
}

Result<void> CopyParked(const std::string& folder)
{
    if (system::NameExists(ParkingFolder())) return system::CopyDurably(ParkingFolder(), folder);
    return MakeDirectories(folder, 0700) ? Result<void>()
                                         : SystemReason(folder, "cannot make " + folder);
}

Result<void> ReplaceParked(const std::string& folder)
{
    const std::string next = ParkingFolder() + ".new";
    std::error_code error;
    fs::remove_all(next, error);
    Result<void> copied = system::CopyDurably(folder, next);
    if (!copied) return copied;

    fs::remove_all(ParkingFolder(), error);
    if (std::rename(next.c_str(), ParkingFolder().c_str()) == 0 && system::SyncFolderOf(next)) {
        return {};
    }
    return SystemReason(next, "cannot replace " + ParkingFolder());
}

}  // namespace host::stores
