// Putting an earlier state in force, from a staged directory or from an old generation.
#include "host/libmailvane/save/restore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/spam_rule_lint.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_record.h"
#include "host/libmailvane/stores/stored_files.h"
#include "host/libmailvane/system/account_source.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/postfix.h"

namespace fs = std::filesystem;

namespace host::save {

namespace {

const char kRestart[] = "restart";
constexpr std::size_t kLongestToldName = 128;

/// The step that follows an exchange of stored files.
Callback Follow()
{
    return {"stored data", &FollowStoredData, kRestart};
}

Callback MemcachedStep()
{
    return daemons::ServiceStep(daemons::kMemcached, kRestart);
}

/// The steps of the two servers: Dovecot first, since Postfix delivers to it.
std::list<Callback> ServerSteps()
{
    return {daemons::ServiceStep(daemons::kDovecot, kRestart),
            daemons::ServiceStep(daemons::kPostfix, kRestart)};
}

Reason Refused(const std::string& what, const char* why)
{
    return {ReasonCode::kRefused, what, "'" + what.substr(0, kLongestToldName) + "' " + why};
}

/// Whether a directory belongs to root and nobody else can read it, so that no user has put files
/// there.
bool IsOurs(const std::string& staged)
{
    struct stat info {};
    return fs::path(staged).parent_path() == PackagePath("etc") && !ClimbsUp(staged) &&
           lstat(staged.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & 077U) == 0;
}

bool IsStagedName(const std::string& name)
{
    const stores::StoredFile* file = stores::FindStoredFile(name);
    return name == stores::kStagedRules ||
           (file != nullptr && file->keeping != stores::Keeping::kNotExchanged);
}

/// Fails unless the databases are sound and belong to the account combination. Opening one also
/// finishes what a killed writer left in its journal.
Result<void> CheckDatabases(const std::string& folder, const settings::AccountCombination& account)
{
    for (const stores::StoredFile& file : stores::kStoredFiles) {
        if (file.keeping != stores::Keeping::kDatabase) continue;

        const std::string name(file.name);
        const std::string path = std::string(folder).append("/").append(name);
        const auto owner = stores::RecordedCombination(path);
        if (!owner) return owner.reason();
        if (!*owner || !(**owner == account)) {
            return Reason{ReasonCode::kDamaged, name,
                          path + " is no whole database of the accounts that the settings serve"};
        }
        if (system::NameExists(path + "-journal")) {
            return Reason{ReasonCode::kDamaged, name, path + " has a journal beside it"};
        }
    }
    return {};
}

/// Has the spam filter check the rules, unless they are those in force.
Result<void> CheckRules(const std::string& rules)
{
    std::string inForce;
    const std::string path =
        generation::GenerationDirectory(generation::CurrentGeneration()) + "/" + render::kSpamRules;
    if (rules.empty() || (ReadFile(path, inForce) && rules == inForce)) return {};
    return SpamFilterTakes(rules);
}

/// A state to be restored, validated as far as possible before its files are put in place.
struct StagedState {
    settings::StoredSettings settings;
    std::string rules;
};

Result<StagedState> ReadStaged(const std::string& staged)
{
    for (const auto& entry : fs::directory_iterator(staged)) {
        if (IsStagedName(entry.path().filename().string())) continue;
        return Refused(entry.path().string(), "is no part of the stored state");
    }
    auto settings = settings::StoredSettings::ReadFrom(staged);
    StagedState state;
    if (!settings) return std::move(settings).reason();
    const std::string rules(stores::kStagedRules);
    if (!ReadFile(staged + "/" + rules, state.rules)) {
        return SystemReason(rules, "cannot read " + rules);
    }
    Result<void> checked = CheckDatabases(staged, settings->Account());
    if (checked) checked = CheckRules(state.rules);
    if (!checked) return std::move(checked).reason();

    state.settings = std::move(*settings);
    return state;
}

/// Finishes interrupted writes of the databases in force before they are replaced. Otherwise SQLite
/// would apply the journal left beside mailvane.db to the new mailvane.db.
Result<void> SettleLiveDatabases()
{
    const auto stored = settings::StoredSettings::Read();
    if (!stored) return stored.reason();
    Result<void> healed = HealAccounts(stored->Account());
    return healed ? CheckDatabases(PackagePath("etc"), stored->Account()) : healed;
}

/// Stored files that come in force.
struct NewFiles {
    std::string staged;
    bool whole = false;
    std::set<std::string> leaving = {};
};

/// Exchanges the stored files and saves; after a failure neither has happened.
Result<void> ExchangeAndSave(const NewFiles& files, const settings::StoredSettings& wanted,
                             const std::list<Callback>& steps, const SaveExtent& extent = {})
{
    const std::string before = generation::CurrentGeneration();
    const auto stored = settings::StoredSettings::Read();
    Result<void> done = generation::MarkPendingSave({before, "restore"});
    if (!done) return done;

    // Lists that stay belong to the accounts that are left: they wait for these to come back.
    const bool parks = !files.whole && stored && !(stored->Account() == wanted.Account());
    if (parks) done = stores::SwitchDatabases(wanted.Account());
    if (done) done = BeginExchange(files.staged, files.whole, files.leaving);
    if (done) done = SaveTransaction(wanted, steps, extent);
    // A save that failed in its steps has rolled the exchange back already, or left that to the
    // next writer.
    if (!done && generation::CurrentGeneration() == before && Succeeded(RollBackExchange())) {
        DropExchange();
        if (parks) (void)Succeeded(HealAccounts(stored->Account()));
        (void)Succeeded(generation::ClearPendingSave());
    }
    return done;
}

/// Replaces the address that gets a copy of every mail, when the account combination changes: the
/// address of the present accounts is parked, and the parked one of the new accounts is put back.
Result<void> ExchangeAlwaysBcc(const settings::StoredSettings& stored,
                               settings::StoredSettings& wanted)
{
    if (stored.Account() == wanted.Account()) return {};

    wanted.SetAlwaysBcc(stores::ParkedAlwaysBcc(wanted.Account()).value_or(""));
    return stores::ParkAlwaysBcc(stored.Account(), stored.AlwaysBcc());
}

Result<void> RollBackTo(const std::string& name, const BeforeCommit& beforeCommit)
{
    if (!generation::IsGeneration(name)) return Refused(name, "is no generation");

    const auto stored = settings::StoredSettings::Read();
    auto wanted = settings::StoredSettings::ReadFrom(generation::GenerationDirectory(name));
    if (!wanted) return std::move(wanted).reason();
    // Damaged settings are what a rollback is to bring back.
    Result<void> exchanged;
    if (Succeeded(stored)) exchanged = ExchangeAlwaysBcc(*stored, *wanted);
    if (!exchanged) return exchanged;

    std::list<Callback> steps = ServerSteps();
    if (!stored || daemons::Runs(daemons::kMemcached, *stored) !=
                       daemons::Runs(daemons::kMemcached, *wanted)) {
        steps.push_front(MemcachedStep());
    }
    // Who gets the mail of an alias also follows from the settings.
    SaveExtent extent{{}, {&render::kAliasList}};
    extent.beforeCommit = beforeCommit;
    return SaveTransaction(*wanted, steps, extent);
}

Result<void> RestoreStaged(const std::string& staged)
{
    const Result<StagedState> state = ReadStaged(staged);
    if (!state) return state.reason();
    Result<void> settled = SettleLiveDatabases();
    if (!settled) return settled;

    std::list<Callback> steps = ServerSteps();
    steps.push_front(daemons::ServiceStep(daemons::kDkimFilter, kRestart));
    steps.push_front(MemcachedStep());
    steps.push_front(Follow());
    return ExchangeAndSave({staged, true}, state->settings, steps, {state->rules, AllLists()});
}

Result<void> ReplaceStagedCertificate(const std::string& staged)
{
    for (const auto& entry : fs::directory_iterator(staged)) {
        if (entry.path().filename() != "tls") return Refused(staged, "holds more than tls");
    }
    const auto stored = settings::StoredSettings::Read();
    if (!stored) return stored.reason();

    return ExchangeAndSave({staged}, *stored, ServerSteps());
}

/// What no other table says about a change: personal scripts follow their settings, and a daemon
/// that reads no file comes, goes or starts anew.
std::list<Callback> StepsOf(const StateChange& change, const settings::StoredSettings& stored)
{
    std::list<Callback> steps;
    if (system::NameExists(change.staged + "/personal")) steps.push_back(Follow());
    bool restarts = daemons::Runs(daemons::kMemcached, stored) !=
                    daemons::Runs(daemons::kMemcached, change.settings);
    std::string_view names = daemons::kMemcached.settings;
    while (!names.empty()) {
        const std::string name(daemons::NextWord(names));
        restarts = restarts || stored.Spelled(name) != change.settings.Spelled(name);
    }
    if (restarts) steps.push_back(MemcachedStep());
    return steps;
}

SaveExtent ExtentOf(const StateChange& change)
{
    SaveExtent extent{change.rules, change.lists};
    extent.generation = change.generation;
    extent.beforeCommit = change.beforeCommit;
    // Who gets the mail of an alias also follows from the settings.
    const auto& lists = extent.lists;
    if (std::find(lists.begin(), lists.end(), &render::kAliasList) == lists.end()) {
        extent.lists.push_back(&render::kAliasList);
    }
    return extent;
}

/// Makes a change of the stored settings, which `make` gets.
template <typename Make>
auto MakeChange(const StateChange& change, Make make) -> Result<std::list<Callback>>
{
    if (!IsOurs(change.staged)) return Refused(change.staged, "is not root's alone");
    return system::Attempt("a change of the state", [&]() -> Result<std::list<Callback>> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready().reason();
        auto stored = settings::StoredSettings::Read();
        if (!stored) return std::move(stored).reason();
        Result<void> taken;
        if (change.rules) taken = CheckRules(*change.rules);
        // The way back is never refused for a source.
        const bool isBack = !change.generation.empty();
        if (taken && !isBack && stored->Account().type != change.settings.Account().type) {
            taken = system::AccountSourceIsNamed(change.settings.Account().type);
        }
        if (!taken) return std::move(taken).reason();
        return make(*stored);
    });
}

/// Runs a change under the request lock.
Result<void> Change(const std::function<Result<void>()>& change)
{
    return system::Attempt("an earlier state", [&change] {
        const WriteScope scope;
        return scope.ready() ? change() : scope.ready();
    });
}

}  // namespace

Result<void> RestoreState(const std::string& staged)
{
    if (!IsOurs(staged)) return Refused(staged, "is not root's alone");
    return Change([&] { return RestoreStaged(staged); });
}

Result<std::list<Callback>> PutInForce(const StateChange& change)
{
    return MakeChange(
        change, [&](const settings::StoredSettings& stored) -> Result<std::list<Callback>> {
            std::list<Callback> plan;
            Result<void> done = SettleLiveDatabases();
            if (done && !(stored.Account() == change.settings.Account())) {
                done = stores::ParkAlwaysBcc(stored.Account(), stored.AlwaysBcc());
            }
            SaveExtent extent = ExtentOf(change);
            extent.ran = &plan;
            if (done) {
                done = ExchangeAndSave({change.staged, false, change.leaving}, change.settings,
                                       StepsOf(change, stored), extent);
            }
            if (!done) return std::move(done).reason();
            return plan;
        });
}

Result<std::list<Callback>> Rehearse(const StateChange& change)
{
    return MakeChange(change, [&](const settings::StoredSettings& stored) {
        SaveExtent extent = ExtentOf(change);
        extent.folder = change.staged;
        if (!(stored.Account() == change.settings.Account())) {
            extent.lists = AccountLists();
            extent.silence = render::Silence::kWaits;
        }
        return Rehearse(change.settings, StepsOf(change, stored), extent);
    });
}

Result<void> ReplaceCertificate(const std::string& staged)
{
    if (!IsOurs(staged)) return Refused(staged, "is not root's alone");
    return Change([&] { return ReplaceStagedCertificate(staged); });
}

Result<void> RollBack(const std::string& generation, const BeforeCommit& beforeCommit)
{
    return Change([&] { return RollBackTo(generation, beforeCommit); });
}

}  // namespace host::save
