// Changes that are taken back unless somebody confirms them.
#include "host/libmailvane/save/confirm.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/restore.h"
#include "host/libmailvane/save/take_back_timer.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::save {

namespace {

constexpr std::int64_t kSecondsToNextTry = 30;
constexpr unsigned kSecondsOfSleep = 1;

/// A new folder in etc/ that only root can enter, until the end of the scope.
class StagingFolder {
public:
    StagingFolder() : path_(PackagePath("etc/staged-XXXXXX"))
    {
        if (mkdtemp(path_.data()) == nullptr) path_.clear();
    }
    ~StagingFolder()
    {
        std::error_code error;
        if (!path_.empty()) std::filesystem::remove_all(path_, error);
    }
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// The change that waits, if it is the one that is meant.
Result<UnconfirmedChange> Waiting(const std::string& generation)
{
    const auto change = FindUnconfirmedChange();
    if (change && (generation.empty() || generation == change->generation)) return *change;
    return Reason{ReasonCode::kMissing, Subject::Setting("number"),
                  change ? generation + " is not what waits to be confirmed"
                         : "no change waits to be confirmed"};
}

/// Puts the state before a change in force, as a save.
Result<void> BringBack(UnconfirmedChange change)
{
    auto settings =
        settings::StoredSettings::ReadFrom(generation::GenerationDirectory(change.before));
    if (!settings) return std::move(settings).reason();
    const StagingFolder staged;
    if (staged.path().empty()) return SystemReason("etc", "cannot make a folder in etc");
    Result<void> copied = CopyKept(staged.path());
    if (!copied) return copied;

    StateChange back{staged.path(), *std::move(settings), std::nullopt, {}};
    back.leaving = AddedBy(change);
    back.generation = change.before;
    back.beforeCommit = [&change](const std::string& generation) {
        change.undoneBy = generation;
        return WriteUnconfirmedNote(change);
    };
    const auto done = PutInForce(back);
    return done ? Result<void>() : done.reason();
}

Result<UnconfirmedChange> TakeWaitingBack(const std::string& generation)
{
    const WriteScope scope(Unconfirmed::kPasses);
    if (!scope.ready()) return scope.ready().reason();
    const auto change = Waiting(generation);
    if (!change) return change.reason();

    Result<void> done = BringBack(*change);
    if (!done) return std::move(done).reason();
    SettleUnconfirmedState();
    return *change;
}

/// Takes a change back without being told to.
Result<void> TakeBackUnasked(const UnconfirmedChange& change)
{
    const auto done = TakeBack(change.generation);
    Log(LOG_NOTICE, "audit: user \"mailvane\", address local, action take_back: %s; %s by %.64s",
        done ? "done" : "failed", change.generation.c_str(), change.caller.c_str());
    return done ? Result<void>() : done.reason();
}

Result<void> GoOnWaiting(UnconfirmedChange change)
{
    const Moment now = Now();
    const std::int64_t left = change.deadline.Left(now);
    change.deadline = Deadline::In(left, now);
    Result<void> noted = WriteUnconfirmedNote(change);
    return noted ? StartTakeBackTimer(left) : noted;
}

}  // namespace

Result<void> MakeUnconfirmed(std::int64_t seconds, const Replacement& replacement,
                             const std::function<Result<void>(const BeforeCommit&)>& change)
{
    if (seconds < kShortestWait || seconds > kLongestWait) {
        return Reason{ReasonCode::kOutOfRange, Subject::Setting("confirm"),
                      "a change waits from " + std::to_string(kShortestWait) + " to " +
                          std::to_string(kLongestWait) + " seconds to be confirmed"};
    }
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();
    auto kept = system::Attempt("unconfirmed", [&] { return KeepReplaced(replacement); });
    if (!kept) {
        SettleUnconfirmedState();
        return std::move(kept).reason();
    }
    UnconfirmedChange& note = *kept;
    Result<void> done = change([&note, seconds](const std::string& generation) {
        note.generation = generation;
        note.deadline = Deadline::In(seconds, Now());
        Result<void> noted = WriteUnconfirmedNote(note);
        return noted ? StartTakeBackTimer(seconds) : noted;
    });
    SettleUnconfirmedState();
    if (!done || !FindUnconfirmedChange()) return done;

    // The time of the save does not count. When this fails, the one before the save does.
    note.deadline = Deadline::In(seconds, Now());
    (void)Succeeded(WriteUnconfirmedNote(note));
    return {};
}

Result<UnconfirmedChange> Confirm(const std::string& generation)
{
    const WriteScope scope(Unconfirmed::kPasses);
    if (!scope.ready()) return scope.ready().reason();
    const auto change = Waiting(generation);
    if (!change) return change.reason();

    Result<void> done = system::RemoveDurably(UnconfirmedNotePath());
    if (!done) return std::move(done).reason();
    SettleUnconfirmedState();
    return *change;
}

Result<UnconfirmedChange> TakeBack(const std::string& generation)
{
    return system::Attempt("the state before", [&] { return TakeWaitingBack(generation); });
}

Result<void> TakeBackWhenDue()
{
    while (const auto change = ReadUnconfirmedNote()) {
        if (change->deadline.Left(Now()) > 0) {
            (void)sleep(kSecondsOfSleep);
            continue;
        }
        const WriteScope scope(Unconfirmed::kPasses);
        if (!scope.ready()) return scope.ready();
        // Meanwhile it may have been confirmed, or its time may have begun anew.
        const auto waiting = FindUnconfirmedChange();
        if (!waiting) return {};
        if (waiting->deadline.Left(Now()) > 0) continue;
        return TakeBackUnasked(*waiting);
    }
    return {};
}

void WaitOrTakeBack(bool atOnce)
{
    const auto change = FindUnconfirmedChange();
    if (!change) return;
    const bool isDue = atOnce || change->deadline.Left(Now()) == 0;
    if (isDue && Succeeded(TakeBackUnasked(*change))) return;
    (void)Succeeded(isDue ? StartTakeBackTimer(kSecondsToNextTry) : GoOnWaiting(*change));
}

}  // namespace host::save
