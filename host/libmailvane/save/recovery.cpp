// Finishing or undoing what a killed process left under way, by the mark that it left.
#include "host/libmailvane/save/recovery.h"

#include <optional>
#include <set>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/save/cleared_password.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/personal_change.h"
#include "host/libmailvane/save/plan.h"
#include "host/libmailvane/save/unconfirmed_state.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/system/database.h"

namespace host::save {

namespace {

int openScopes = 0;  // of this process

/// The switches stored before a save. A switch that cannot be read counts as on.
struct SwitchesBefore {
    std::optional<KeyValueFile> file;

    bool Bool(std::string_view name) const
    {
        return !file || file->Get(std::string(name)) == "yes";
    }
};

/// Restarts the services that were switched on before a killed save or are now.
Result<void> RestartCalledServices(const std::string& before,
                                   const settings::StoredSettings& settings)
{
    const SwitchesBefore old{
        KeyValueFile::Read(generation::GenerationDirectory(before) + "/mailvane.conf")};
    std::set<std::string_view> done;
    for (const daemons::Daemon& daemon : daemons::kDaemons) {
        if (!daemons::IsCalledByMailServer(daemon) || !done.insert(daemon.service).second) continue;
        if (!daemons::Runs(daemon, old) && !daemons::Runs(daemon, settings)) continue;
        Result<void> restarted = daemons::RunControlScript(daemon, "restart");
        if (restarted) continue;
        const std::string label(daemon.label);
        return Reason{ReasonCode::kDaemonIsDown,
                      Subject::Service(daemon),
                      "the " + label + " does not come up",
                      {std::move(restarted).reason()}};
    }
    return {};
}

/// Heals the account databases, writes the users' scripts and restarts the services, as the
/// generation in force asks. A service that does not start is only logged: refusing here would
/// block the save that repairs it.
Result<void> BringInLine(const generation::PendingSave& save,
                         const settings::StoredSettings& settings)
{
    // Data that is lost keeps changes of it away, and no others.
    (void)Succeeded(stores::HealAccountData(settings.Account()));
    Result<void> done = FollowPersonalSettings();
    if (!done) return done;

    (void)Succeeded(RestartCalledServices(save.before, settings));
    for (const Callback& step : WholePlan({}, BothServers())) (void)Succeeded(RunStep(step));
    return {};
}

/// Completes an interrupted save whose generation is in force, and undoes any other; some of its
/// steps may have run.
Result<void> FinishSave(const generation::PendingSave& save)
{
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();

    const bool undone = generation::CurrentGeneration() == save.before;
    Result<void> done =
        undone ? RollBackExchange() : stores::ForgetParkedAlwaysBcc(settings->Account());
    if (done && undone) generation::RemoveGenerationsAfter(save.before);
    if (done && !undone) done = generation::ReleaseMainFile();
    if (done) done = BringInLine(save, *settings);
    if (!done) return done;

    if (undone) {
        DropExchange();
    } else {
        KeepExchange();
    }
    return {};
}

/// What was written in the databases of the accounts and not stored is taken back.
void SettleDatabases()
{
    for (const auto which : {stores::AccountDatabase::kAlias, stores::AccountDatabase::kMailvane}) {
        (void)Succeeded(system::SettleJournal(PackagePath(stores::StoreOf(which).live)));
    }
}

Result<void> Finish(const generation::PendingSave& mark)
{
    const char* what = mark.change.empty() ? "settings" : mark.change.c_str();
    Log(LOG_NOTICE, "finishing a change that was interrupted: %s", what);
    if (IsListChange(mark)) return FinishListChange(mark);
    if (const auto user = UserOfChange(mark)) {
        // What a user's home does not take must not keep the changes of others away.
        (void)Succeeded(FinishPersonalChange(*user));
        return {};
    }
    return FinishSave(mark);
}

Result<void> FinishMarked()
{
    const auto mark = generation::ReadPendingSave();
    if (!mark) return {};

    Result<void> done = Finish(*mark);
    if (!done) return done;

    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(mark->before);
    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) ForgetClearedPassword(*stored);
    return {};
}

}  // namespace

WriteScope::WriteScope(Unconfirmed unconfirmed)
{
    const bool isOuter = openScopes++ == 0;
    ready_ = lock_.ready();
    if (ready_) ready_ = FinishInterruptedSave();
    // The caller of a tool has been asked already.
    const bool asks = isOuter && unconfirmed == Unconfirmed::kRefuses && !LockIsInherited();
    if (ready_ && asks) ready_ = NothingIsUnconfirmed();
}

WriteScope::~WriteScope()
{
    --openScopes;
}

Result<void> FinishInterruptedSave()
{
    // A mark found later in this process, or by its child, is that of the change now under way.
    static bool finished = false;
    if (finished || !LockIsHeld() || LockIsInherited()) return {};

    finished = true;
    SettleDatabases();
    Result<void> done = FinishMarked();
    if (done) SettleUnconfirmedState();
    return done;
}

}  // namespace host::save
