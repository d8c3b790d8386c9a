// Saving settings as one transaction.
#include "host/libmailvane/save/transaction.h"

#include <algorithm>
#include <optional>
#include <set>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/dovecot.h"
#include "host/libmailvane/render/settings_files.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/cleared_password.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/plan.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/validate.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/system/durable_move.h"
#include "platform/firewall/firewall.h"

namespace host::save {

namespace {

bool IsServiceStep(const Callback& step)
{
    return step.arg == "start" || step.arg == "stop" || step.arg == "restart";
}

/// Runs a step and logs its result. The step itself logs the reason of a failure.
Result<void> RunStep(const Callback& step)
{
    const std::string title = "step " + step.name + " " + step.arg;
    if (step.func(step.arg) >= 0) {
        Log(LOG_INFO, "%s: done", title.c_str());
        return {};
    }
    return Reason{IsServiceStep(step) ? ReasonCode::kDaemonIsDown : ReasonCode::kSystem, step.name,
                  title + ": failed"};
}

/// Runs steps in order until one fails; `begun` gets the steps run, the failed one included.
Result<void> RunSteps(const std::list<Callback>& steps, std::list<Callback>& begun)
{
    for (const Callback& step : steps) {
        begun.push_back(step);
        Result<void> done = RunStep(step);
        if (!done) return done;
    }
    return {};
}

/// Activates the generation from before the save, puts back the stored files that belong to it, and
/// restarts the services that the save had touched. Failures are only logged: the caller returns
/// the reason why the save failed.
void RollBackSave(const generation::PendingSave& save, const std::list<Callback>& begun)
{
    Log(LOG_ERR, "the save is taken back");
    const std::string abandoned = generation::CurrentGeneration();
    // After a failure here the mark stays, and the next writer rolls back.
    if (!Succeeded(generation::Activate(save.before)) || !Succeeded(RollBackExchange())) return;

    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) (void)Succeeded(HealAccounts(stored->Account()));
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
                   const std::list<Callback>& plan)
{
    std::list<Callback> begun;
    Result<void> done = RunSteps(plan, begun);
    if (!done) {
        RollBackSave(save, begun);
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

/// Whether the account combination in force differs from that before the killed save.
bool AccountChangedSince(const std::string& before)
{
    const auto old = KeyValueFile::Read(generation::GenerationDirectory(before) + "/mailvane.conf");
    const auto now = settings::StoredSettings::Read();
    if (!old || !Succeeded(now)) return true;

    return !(settings::AccountCombination{old->Get("account_type").value_or("local"),
                                          old->Get("acc_domain_name").value_or("")} ==
             now->Account());
}

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
                      label,
                      "the " + label + " does not come up",
                      {std::move(restarted).reason()}};
    }
    return {};
}

/// Heals the account databases and restarts the services, as the generation in force asks. A
/// service that does not start is only logged: refusing here would block the save that repairs it.
Result<void> BringInLine(const generation::PendingSave& save,
                         const settings::StoredSettings& settings)
{
    Result<void> done = HealAccounts(settings.Account());
    if (done && ExchangeIsUnderWay()) done = BringStoredDataInLine();
    if (done && AccountChangedSince(save.before)) done = RebuildLists(AccountLists());
    if (!done) return done;

    (void)Succeeded(RestartCalledServices(save.before, settings));
    for (const Callback& step : WholePlan({}, BothServers())) (void)Succeeded(RunStep(step));
    return {};
}

/// Completes an interrupted save whose generation is in force, and undoes any other; some of its
/// steps may have run.
Result<void> FinishSave(const generation::PendingSave& save)
{
    Log(LOG_NOTICE, "finishing a save that was interrupted");
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();

    const bool undone = generation::CurrentGeneration() == save.before;
    Result<void> done =
        undone ? RollBackExchange() : stores::ForgetParkedAlwaysBcc(settings->Account());
    if (done && undone) generation::RemoveGenerationsAfter(save.before);
    if (done) done = BringInLine(save, *settings);
    if (!done) return done;

    if (undone) {
        DropExchange();
    } else {
        KeepExchange();
    }
    return {};
}

Result<void> RenderFromStored()
{
    const bool hasSettings = system::NameExists(PackagePath("etc/mailvane.conf"));
    const Result<settings::StoredSettings> settings =
        hasSettings ? settings::StoredSettings::Read() : settings::StoredSettings();
    if (!settings) return settings.reason();

    generation::NextGeneration next;
    render::PutSettingsFiles(next, *settings);
    Result<void> done = next.Complete();
    if (!done) return done;

    const std::string before = generation::CurrentGeneration();
    if (before.empty()) return ActivateFirst(next, *settings);
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

}  // namespace

WriteScope::WriteScope()
{
    ready_ = lock_.ready();
    if (ready_) ready_ = FinishInterruptedSave();
}

Result<void> SaveTransaction(const settings::StoredSettings& wanted,
                             const std::list<Callback>& steps,
                             const std::vector<generation::ListFile>& files)
{
    generation::NextGeneration next;
    for (const generation::ListFile& file : files) next.Put(file.name, file.text, 0644);
    render::PutSettingsFiles(next, wanted);
    Result<void> done = next.Complete();
    if (done) done = ValidateGeneration(next, wanted);
    if (!done) return done;

    const AffectedServices affected = ServicesAffectedBy(next, wanted);
    const generation::PendingSave save{generation::CurrentGeneration()};
    done = generation::MarkPendingSave(save);
    if (!done) return done;
    // A save that changes no file makes no generation, but its steps still run.
    if (next.Changed("")) done = next.Commit();
    if (!done) {
        (void)Succeeded(generation::ClearPendingSave());
        return done;
    }

    return Apply(save, wanted, WholePlan(steps, affected));
}

Result<void> FinishInterruptedSave()
{
    // A mark found later in this process, or by its child, is that of the save now under way.
    static bool finished = false;
    if (finished || !LockIsHeld() || LockIsInherited()) return {};

    finished = true;
    const auto save = generation::ReadPendingSave();
    if (!save) return {};

    Result<void> done = FinishSave(*save);
    if (!done) return done;

    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(save->before);
    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) ForgetClearedPassword(*stored);
    return {};
}

Result<void> RenderAll()
{
    const WriteScope scope;
    Result<void> done = scope.ready();
    if (done) done = RenderFromStored();
    if (!done) return done;

    // A request that runs this tool as its child may be switching the account source.
    const auto stored = settings::StoredSettings::Read();
    return LockIsInherited() || !Succeeded(stored) ? done : HealAccounts(stored->Account());
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
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();
    if (!KernelHasChanged()) return {};

    Log(LOG_NOTICE, "IPv6 has come or gone: rendering anew");
    return RenderFromStored();
}

}  // namespace host::save
