// What a change that has to be confirmed replaces. In etc/unconfirmed: `files` has the stored files
// as they were, `parked` what was parked, `note` says what waits; see
// host/libhaldcore/unconfirmed.h.
#include "host/libmailvane/save/unconfirmed_state.h"

#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/cleared_password.h"
#include "host/libmailvane/save/take_back_timer.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/parked_data.h"
#include "host/libmailvane/stores/stored_files.h"
#include "host/libmailvane/system/copies.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"

namespace fs = std::filesystem;

namespace host::save {

namespace {

std::string Files()
{
    return UnconfirmedFolder() + "/files";
}

std::string Parked()
{
    return UnconfirmedFolder() + "/parked";
}

Result<void> MakeFolder(const std::string& path, mode_t mode)
{
    return MakeDirectories(path, mode) ? Result<void>() : SystemReason(path, "cannot make " + path);
}

/// Keeps one stored file. An empty folder stands for one that is not there.
Result<void> KeepFile(const std::string& name, UnconfirmedChange& change)
{
    const std::string inForce = PackagePath("etc/" + name);
    const std::string kept = Files() + "/" + name;
    if (system::NameExists(inForce)) return system::CopyDurably(inForce, kept);

    const stores::StoredFile* const file = stores::FindStoredFile(name);
    if (file != nullptr && file->keeping == stores::Keeping::kFolder) {
        return MakeFolder(kept, file->mode);
    }
    change.added.append(change.added.empty() ? "" : " ").append(name);
    return {};
}

/// Removes the note first, with which the rest has a meaning.
Result<void> Drop()
{
    Result<void> done = system::RemoveDurably(UnconfirmedNotePath());
    if (!done) return done;
    std::error_code error;
    fs::remove_all(UnconfirmedFolder(), error);
    StopTakeBackTimer();
    // What could have come back with the state before.
    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) ForgetClearedPassword(*stored);
    return {};
}

Result<void> Settle()
{
    if (!system::NameExists(UnconfirmedFolder()) || FindUnconfirmedChange()) return {};

    const auto change = ReadUnconfirmedNote();
    const bool isUndone =
        change && !change->undoneBy.empty() && change->undoneBy == generation::CurrentGeneration();
    Result<void> done;
    if (isUndone && system::NameExists(Parked())) done = stores::ReplaceParked(Parked());
    return done ? Drop() : done;
}

}  // namespace

Result<UnconfirmedChange> KeepReplaced(const Replacement& replacement)
{
    const auto stored = settings::StoredSettings::Read();
    if (!stored) return stored.reason();

    UnconfirmedChange change;
    change.before = generation::CurrentGeneration();
    change.caller = NotedRequest().caller;
    std::error_code error;
    fs::remove_all(UnconfirmedFolder(), error);
    Result<void> kept = MakeFolder(Files(), 0700);
    if (kept && !(stored->Account() == replacement.account)) kept = stores::CopyParked(Parked());
    if (!kept) return std::move(kept).reason();
    if (replacement.staged.empty()) return change;
    for (const auto& entry : fs::directory_iterator(replacement.staged)) {
        kept = KeepFile(entry.path().filename().string(), change);
        if (!kept) return std::move(kept).reason();
    }
    return change;
}

Result<void> CopyKept(const std::string& folder)
{
    for (const auto& entry : fs::directory_iterator(Files())) {
        Result<void> copied = system::CopyDurably(entry.path().string(),
                                                  folder + "/" + entry.path().filename().string());
        if (!copied) return copied;
    }
    return {};
}

std::set<std::string> AddedBy(const UnconfirmedChange& change)
{
    std::set<std::string> names;
    std::string_view words = change.added;
    while (!words.empty()) names.emplace(daemons::NextWord(words));
    return names;
}

void SettleUnconfirmedState()
{
    (void)Succeeded(system::Attempt("unconfirmed", Settle));
}

}  // namespace host::save
