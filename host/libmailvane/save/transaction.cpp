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

/// Runs a step, which is a border of its own, and logs how it went.
Result<void> RunStep(const Callback& step)
{
    const int result = step.func(step.arg);
    Log(result < 0 ? LOG_ERR : LOG_INFO, "step %s %s: %s", step.name.c_str(), step.arg.c_str(),
        result < 0 ? "failed" : "done");
    if (result >= 0) return {};
    return Reason{IsServiceStep(step) ? ReasonCode::kDaemonIsDown : ReasonCode::kSystem, step.name,
                  ""};
}

/// Runs steps in order up to the first that fails; `begun` gets those that were begun.
Result<void> RunSteps(const std::list<Callback>& steps, std::list<Callback>& begun)
{
    for (const Callback& step : steps) {
        begun.push_back(step);
        Result<void> done = RunStep(step);
        if (!done) return done;
    }
    return {};
}

/// Puts the generation before the save in force again, with the stored data that belongs to it, and
/// brings the services that the save had touched back to it. What fails here is only logged: the
/// caller gets the reason why the save failed.
void RollBackSave(const generation::PendingSave& save, const std::list<Callback>& begun)
{
    Log(LOG_ERR, "the save is taken back");
    const std::string abandoned = generation::CurrentGeneration();
    // Where this fails, the mark stays for the next writer.
    if (!Succeeded(generation::Activate(save.before)) || !Succeeded(RollBackExchange())) return;

    const auto stored = settings::StoredSettings::Read();
    if (Succeeded(stored)) (void)Succeeded(HealAccounts(stored->Account()));
    // Even a daemon that no step had reached may have read the files meanwhile.
    for (const Callback& step : WholePlan(begun, BothServers())) {
        if (IsServiceStep(step)) (void)RunStep({step.name, step.func, "restart"});
    }
    if (HasFirewallStep(begun)) (void)HALDFwRuleHup();
    DropExchange();
    (void)Succeeded(generation::ClearPendingSave());
    generation::RemoveGeneration(abandoned);
}

/// Steps, and what follows when they are all done.
Result<void> Apply(const generation::PendingSave& save, const settings::StoredSettings& wanted,
                   const std::list<Callback>& plan)
{
    std::list<Callback> begun;
    Result<void> done = RunSteps(plan, begun);
    if (!done) {
        RollBackSave(save, begun);
        return done;
    }

    // The save holds, whatever of these fails.
    (void)Succeeded(stores::ForgetParkedAlwaysBcc(wanted.Account()));
    KeepExchange();
    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(save.before);
    ForgetClearedPassword(wanted);
    return {};
}

/// The links by which the stored settings are found under their plain names.
Result<void> LinkStoredFiles()
{
    for (const char* name : {"mailvane.conf", "domains", "dnsbl"}) {
        const std::string path = PackagePath(std::string("etc/") + name);
        if (!generation::ReplaceByLink(path, std::string("generated/current/") + name)) {
            return SystemReason(path, "cannot link " + path);
        }
    }
    return {};
}

/// The first generation's files are read through the link, which must therefore be there before
/// anything can be validated.
Result<void> ActivateFirst(generation::NextGeneration& next,
                           const settings::StoredSettings& settings)
{
    Result<void> done = next.Commit();
    if (done) done = LinkStoredFiles();
    if (done) done = ValidateGeneration(next, settings);
    return done;
}

/// Whether the accounts that a killed save was to serve are others than before it.
bool AccountChangedSince(const std::string& before)
{
    const auto old = KeyValueFile::Read(generation::GenerationDirectory(before) + "/mailvane.conf");
    const auto now = settings::StoredSettings::Read();
    if (!old || !Succeeded(now)) return true;

    return !(settings::AccountCombination{old->Get("account_type").value_or("local"),
                                          old->Get("acc_domain_name").value_or("")} ==
             now->Account());
}

/// What was stored before a save, as far as it can be read: a switch that cannot was on.
struct SwitchesBefore {
    std::optional<KeyValueFile> file;

    bool Bool(std::string_view name) const
    {
        return !file || file->Get(std::string(name)) == "yes";
    }
};

/// Brings the services that a switch ran before a killed save, or runs now, to what is stored.
int RestartCalledServices(const std::string& before, const settings::StoredSettings& settings)
{
    const SwitchesBefore old{
        KeyValueFile::Read(generation::GenerationDirectory(before) + "/mailvane.conf")};
    std::set<std::string_view> done;
    for (const daemons::Daemon& daemon : daemons::kDaemons) {
        if (!daemons::IsCalledByMailServer(daemon) || !done.insert(daemon.service).second) continue;
        if (!daemons::Runs(daemon, old) && !daemons::Runs(daemon, settings)) continue;
        if (daemons::RunControlScript(daemon, "restart") < 0) return -1;
    }
    return 0;
}

/// Brings account data, maps and services in line with the generation in force. A service that does
/// not come up is only logged: the save that is to mend it must not be refused for it.
Result<void> BringInLine(const generation::PendingSave& save,
                         const settings::StoredSettings& settings)
{
    Result<void> done = HealAccounts(settings.Account());
    if (done && ExchangeIsUnderWay()) done = BringStoredDataInLine();
    if (done && AccountChangedSince(save.before)) done = RebuildLists(AccountLists());
    if (!done) return done;

    if (RestartCalledServices(save.before, settings) < 0) Log(LOG_ERR, "a filter does not come up");
    for (const Callback& step : WholePlan({}, BothServers())) (void)RunStep(step);
    return {};
}

/// Finishes a save whose generation is in force. One that is not, or no longer, is undone; its
/// steps may have begun.
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

/// Whether the files in force are those of a kernel that differs in IPv6.
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
    if (!lock_.held()) {
        ready_ = Reason{ReasonCode::kBusy, "request lock", ""};
    } else {
        ready_ = FinishInterruptedSave();
    }
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
    // A save that changes nothing makes no generation, but its steps run.
    if (next.Changed("")) done = next.Commit();
    if (!done) {
        (void)Succeeded(generation::ClearPendingSave());
        return done;
    }

    return Apply(save, wanted, WholePlan(steps, affected));
}

Result<void> FinishInterruptedSave()
{
    // Inside a save the mark is this process's own, or its parent's.
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

    // A request that runs this tool may be in the middle of a switch of the account source.
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
