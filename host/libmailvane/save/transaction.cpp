// Saving settings as one transaction.
#include "host/libmailvane/save/transaction.h"

#include <algorithm>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/dovecot.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/render/settings_files.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/cleared_password.h"
#include "host/libmailvane/save/confirm.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/plan.h"
#include "host/libmailvane/save/progress.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/validate.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"
#include "platform/firewall/firewall.h"

namespace host::save {

namespace {

/// Runs steps in order until one fails; `begun` gets the steps run, the failed one included.
Result<void> RunSteps(const std::list<Callback>& steps, std::list<Callback>& begun,
                      Progress& progress)
{
    progress.Expect(steps.size());
    for (const Callback& step : steps) {
        begun.push_back(step);
        progress.Begin(step.arg.empty() ? step.name : step.name + " " + step.arg);
        Result<void> done;
        if (IsMailServerStep(step)) done = generation::ReleaseMainFile();
        if (done) done = RunStep(step);
        if (!done) return done;
    }
    return generation::ReleaseMainFile();
}

/// Activates the generation from before the save, puts back the stored files that belong to it, and
/// restarts the services that the save had touched. Failures are only logged: the caller returns
/// the reason why the save failed.
void RollBackSave(const generation::PendingSave& save, const std::list<Callback>& begun,
                  Progress& progress)
{
    Log(LOG_ERR, "the save is taken back");
    progress.Expect(1);
    progress.Begin("roll back");
    const std::string abandoned = generation::CurrentGeneration();
    // After a failure here the mark stays, and the next writer rolls back.
    if (!Succeeded(generation::Activate(save.before)) || !Succeeded(RollBackExchange())) return;

    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) (void)Succeeded(stores::HealAccountData(stored->Account()));
    // Postfix and Dovecot restart even when no step was run for them: they may have read the new
    // files.
    for (const Callback& step : WholePlan(begun, BothServers())) {
        if (IsServiceStep(step)) (void)Succeeded(RunStep({step.name, step.func, "restart"}));
    }
    if (HasFirewallStep(begun)) (void)HALDFwRuleHup();
    DropExchange();
    (void)Succeeded(generation::ClearPendingSave());
    generation::RemoveGeneration(abandoned);
}

/// Runs the steps, then ends the save, or rolls it back.
Result<void> Apply(const generation::PendingSave& save, const settings::StoredSettings& wanted,
                   const std::list<Callback>& plan, Progress& progress)
{
    std::list<Callback> begun;
    Result<void> done = RunSteps(plan, begun, progress);
    if (!done) {
        RollBackSave(save, begun, progress);
        return done;
    }

    // From here on the save is in force, even when one of these fails.
    (void)Succeeded(stores::ForgetParkedAlwaysBcc(wanted.Account()));
    KeepExchange();
    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(save.before);
    ForgetClearedPassword(wanted);
    return {};
}

/// Makes the links under which administrators find the stored settings, as etc/mailvane.conf.
Result<void> LinkStoredFiles()
{
    for (const char* name : {"mailvane.conf", "domains", "dnsbl"}) {
        const std::string path = PackagePath(std::string("etc/") + name);
        Result<void> linked =
            generation::ReplaceByLink(path, std::string("generated/current/") + name);
        if (!linked) return linked;
    }
    return {};
}

/// Activates the first generation before it is validated: its files name each other by the link
/// `current`, which does not exist until then.
Result<void> ActivateFirst(generation::NextGeneration& next,
                           const settings::StoredSettings& settings)
{
    Result<void> done = next.Commit();
    if (done) done = LinkStoredFiles();
    if (done) done = ValidateGeneration(next, settings);
    return done;
}

/// Puts the files of lists, of the refused attachment types, and of the settings.
Result<void> PutFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                      const SaveExtent& extent)
{
    Lists lists = extent.lists;
    // Each version of the package may write these in another form: postfix/main.cf and the program
    // that it asks belong together.
    const render::List* const types = &render::kAttachmentList;
    if (std::find(lists.begin(), lists.end(), types) == lists.end()) lists.push_back(types);
    const auto files = StoredListFiles(lists, settings, extent.silence, extent.folder);
    if (!files) return files.reason();
    for (const generation::ListFile& file : *files) next.Put(file);
    render::PutSettingsFiles(next, settings);
    return {};
}

Result<void> RenderFromStored()
{
    const bool hasSettings = system::NameExists(PackagePath("etc/mailvane.conf"));
    const Result<settings::StoredSettings> settings =
        hasSettings ? settings::StoredSettings::Read() : settings::StoredSettings();
    if (!settings) return settings.reason();

    generation::NextGeneration next;
    Result<void> done = PutFiles(next, *settings, {});
    if (done) done = next.Complete();
    if (!done) return done;

    const std::string before = generation::CurrentGeneration();
    if (before.empty()) {
        // A machine that is made has no account data yet.
        done = stores::SwitchDatabases(settings->Account());
        return done ? ActivateFirst(next, *settings) : done;
    }
    if (next.Changed("")) done = ValidateGeneration(next, *settings);
    if (done && next.Changed("")) done = next.Commit();
    if (!done) return done;

    generation::PruneGenerations(before);
    return LinkStoredFiles();
}

/// Whether IPv6 was switched on or off in the kernel since the files in force were rendered.
bool KernelHasChanged()
{
    std::string text;
    const std::string file =
        generation::GenerationDirectory(generation::CurrentGeneration()) + "/dovecot/dovecot.conf";
    return ReadFile(file, text) && render::ListensOnIpv6(text) != render::KernelHasIpv6();
}

/// Makes the next generation and validates it.
Result<void> Stage(generation::NextGeneration& next, const settings::StoredSettings& wanted,
                   const SaveExtent& extent, Progress& progress)
{
    progress.Begin("render");
    if (extent.rules) next.Put(render::kSpamRules, *extent.rules, 0644);
    Result<void> done;
    if (extent.generation.empty()) {
        done = PutFiles(next, wanted, extent);
    } else {
        next.TakeAll(extent.generation);
    }
    if (done) done = next.Complete();
    if (!done) return done;

    progress.Begin("validate");
    return ValidateGeneration(next, wanted);
}

Result<void> Save(const settings::StoredSettings& wanted, const std::list<Callback>& steps,
                  const SaveExtent& extent, const char* change)
{
    Progress progress;
    generation::NextGeneration next;
    Result<void> done =
        system::Attempt("maps", [&] { return Stage(next, wanted, extent, progress); });
    if (done && extent.beforeCommit) done = extent.beforeCommit(next.name());
    if (!done) return done;

    const AffectedServices affected = ServicesAffectedBy(next, wanted);
    const generation::PendingSave save{generation::CurrentGeneration(), change};
    done = generation::MarkPendingSave(save);
    if (!done) return done;
    // A save that changes no file makes no generation, but its steps still run.
    // Filters that come are not called before they are up.
    if (next.Changed("") || extent.beforeCommit) {
        done = affected.coming.empty() ? next.Commit() : next.CommitButMainFile();
    }
    if (!done) {
        // The data of a switch goes back before its mark.
        if (*change == '\0') (void)Succeeded(generation::ClearPendingSave());
        return done;
    }

    const std::list<Callback> plan = WholePlan(steps, affected);
    if (extent.ran != nullptr) *extent.ran = plan;
    return Apply(save, wanted, plan, progress);
}

}  // namespace

Result<void> SaveTransaction(settings::StoredSettings wanted, const std::list<Callback>& steps,
                             const SaveExtent& extent)
{
    const auto stored = settings::StoredSettings::Read();
    if (!stored || !EndsSwitch(stored->Account(), wanted.Account())) {
        return Save(wanted, steps, extent, "");
    }

    SaveExtent whole = extent;
    if (whole.lists.size() < AccountLists().size()) whole.lists = AccountLists();
    whole.silence = render::Silence::kWaits;
    Result<void> done = SwitchAccounts(wanted);
    if (done) done = Save(wanted, steps, whole, generation::kAccountSwitch);
    // A save that came as far as its commit has done this already, or left it to the next writer.
    if (!done) (void)Succeeded(HealAccounts(stored->Account()));
    return done;
}

Result<std::list<Callback>> Rehearse(const settings::StoredSettings& wanted,
                                     const std::list<Callback>& steps, const SaveExtent& extent)
{
    Progress progress;
    generation::NextGeneration next;
    Result<void> done =
        system::Attempt("maps", [&] { return Stage(next, wanted, extent, progress); });
    if (!done) return std::move(done).reason();
    return WholePlan(steps, ServicesAffectedBy(next, wanted));
}

Result<void> RenderAll()
{
    const WriteScope scope;
    Result<void> done = scope.ready();
    if (done) done = RenderFromStored();
    if (!done) return done;

    // A request that runs this tool as its child may be switching the account source.
    const auto stored = settings::StoredSettings::Read();
    if (!LockIsInherited() && Succeeded(stored)) (void)Succeeded(HealAccounts(stored->Account()));
    return done;
}

Result<void> ApplyStored()
{
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();
    const auto stored = settings::StoredSettings::Read();
    if (!stored) return stored.reason();
    return SaveTransaction(*stored, {});
}

Result<void> RecoverAll()
{
    const WriteScope scope(Unconfirmed::kPasses);
    if (!scope.ready()) return scope.ready();
    // A switch that was broken off before its mark has changed nothing but these.
    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) (void)Succeeded(HealAccounts(stored->Account()));
    const bool kernelHasChanged = KernelHasChanged();
    WaitOrTakeBack(kernelHasChanged);
    // What could not be taken back stays, so that it can be.
    if (!kernelHasChanged || FindUnconfirmedChange()) return {};

    Log(LOG_NOTICE, "IPv6 has come or gone: rendering anew");
    return RenderFromStored();
}

}  // namespace host::save
