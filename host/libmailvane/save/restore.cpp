// Putting an earlier state in force: from a staged directory, or the settings of a generation.
#include "host/libmailvane/save/restore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/spam_rule_lint.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_record.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/postfix.h"

namespace fs = std::filesystem;

namespace host::save {

namespace {

const char kRestart[] = "restart";
const char kRules[] = "rules.cf";
const char* const kDatabases[] = {"alias.db", "mailvane.db"};

/// The steps of these changes. Restart brings each service to what is stored by then.
Callback Follow()
{
    return {"stored data", &FollowStoredData, kRestart};
}

Callback MemcachedStep()
{
    return daemons::ServiceStep(daemons::kMemcached, kRestart);
}

/// Mailboxes and mail server, in the order in which they can do without each other.
std::list<Callback> ServerSteps()
{
    return {daemons::ServiceStep(daemons::kDovecot, kRestart),
            daemons::ServiceStep(daemons::kPostfix, kRestart)};
}

int Refuse(const std::string& what, const char* why)
{
    Log(LOG_ERR, "'%.128s' %s", what.c_str(), why);
    return -1;
}

/// Whether a directory in etc/ is root's alone, as is all that a user could have put there.
bool IsOurs(const std::string& staged)
{
    struct stat info {};
    return fs::path(staged).parent_path() == PackagePath("etc") && !ClimbsUp(staged) &&
           lstat(staged.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & 077U) == 0;
}

bool IsStagedName(const std::string& name)
{
    return IsStoredData(name) || name == "mailvane.conf" || name == "domains" || name == "dnsbl" ||
           name == kRules;
}

/// Whether the databases are whole and those of the accounts that the settings speak of. Looking
/// at one settles what a killed writer left beside it.
bool DatabasesAreOf(const std::string& folder, const settings::AccountCombination& account)
{
    for (const char* name : kDatabases) {
        const std::string path = folder + "/" + name;
        const auto owner = stores::RecordedCombination(path);
        if (!owner || !(*owner == account) || system::NameExists(path + "-journal")) return false;
    }
    return true;
}

/// Whether the spam filter takes the rules; it need not say so twice.
bool RulesAreSound(const std::string& rules)
{
    std::string inForce;
    const std::string path =
        generation::GenerationDirectory(generation::CurrentGeneration()) + "/" + render::kSpamRules;
    return rules.empty() || (ReadFile(path, inForce) && rules == inForce) || SpamFilterTakes(rules);
}

/// A state that was judged as far as it can be before it is put in place.
struct StagedState {
    settings::StoredSettings settings;
    std::string rules;
};

std::optional<StagedState> ReadStaged(const std::string& staged)
{
    for (const auto& entry : fs::directory_iterator(staged)) {
        if (IsStagedName(entry.path().filename().string())) continue;
        (void)Refuse(entry.path().string(), "is no part of the stored state");
        return std::nullopt;
    }
    auto settings = settings::StoredSettings::ReadFrom(staged);
    StagedState state;
    if (!settings || !ReadFile(staged + "/" + kRules, state.rules)) return std::nullopt;
    if (!DatabasesAreOf(staged, settings->Account())) {
        (void)Refuse(staged, "has no databases of the accounts that its settings serve");
        return std::nullopt;
    }
    if (!RulesAreSound(state.rules)) return std::nullopt;

    state.settings = std::move(*settings);
    return state;
}

/// Whether the databases in force can be taken away: a journal beside one would be rolled back into
/// the next one of its name.
bool LiveDatabasesAreSettled()
{
    const auto stored = settings::StoredSettings::Read();
    if (!stored || HealAccounts(stored->Account()) < 0) return false;
    return DatabasesAreOf(PackagePath("etc"), stored->Account());
}

/// Exchanges the stored data and saves, both or neither.
int ExchangeAndSave(const std::string& staged, bool whole, const StagedState& state,
                    const std::list<Callback>& steps)
{
    std::vector<generation::ListFile> files;
    if (whole) files.push_back({render::kSpamRules, state.rules, false});

    const std::string before = generation::CurrentGeneration();
    const bool marked = generation::MarkPendingSave({before});
    if (marked && BeginExchange(staged, whole) &&
        SaveTransaction(state.settings, steps, files) == 0) {
        return 0;
    }

    // A save that came as far as its steps has done this already, or left it to the next writer.
    if (marked && generation::CurrentGeneration() == before && TakeExchangeBack()) {
        DropExchange();
        (void)generation::ClearPendingSave();
    }
    return -1;
}

/// The copy address belongs to the accounts: where others are served, that of the present ones is
/// parked, and theirs comes back.
bool ExchangeAlwaysBcc(const settings::StoredSettings& stored, settings::StoredSettings& wanted)
{
    if (stored.Account() == wanted.Account()) return true;

    wanted.SetAlwaysBcc(stores::ParkedAlwaysBcc(wanted.Account()));
    return stores::ParkAlwaysBcc(stored.Account(), stored.AlwaysBcc());
}

int RollBackTo(const std::string& name)
{
    if (!generation::IsGeneration(name)) return Refuse(name, "is no generation");

    const auto stored = settings::StoredSettings::Read();
    auto wanted = settings::StoredSettings::ReadFrom(generation::GenerationDirectory(name));
    if (!stored || !wanted || !ExchangeAlwaysBcc(*stored, *wanted)) return -1;

    std::list<Callback> steps = ServerSteps();
    if (daemons::Runs(daemons::kMemcached, *stored) !=
        daemons::Runs(daemons::kMemcached, *wanted)) {
        steps.push_front(MemcachedStep());
    }
    steps.push_front(Follow());
    return SaveTransaction(*wanted, steps);
}

int RestoreStaged(const std::string& staged)
{
    const auto state = ReadStaged(staged);
    if (!state || !LiveDatabasesAreSettled()) return -1;

    std::list<Callback> steps = ServerSteps();
    steps.push_front(daemons::ServiceStep(daemons::kDkimFilter, kRestart));
    steps.push_front(MemcachedStep());
    steps.push_front(Follow());
    return ExchangeAndSave(staged, true, *state, steps);
}

int ReplaceStagedCertificate(const std::string& staged)
{
    for (const auto& entry : fs::directory_iterator(staged)) {
        if (entry.path().filename() != "tls") return Refuse(staged, "holds more than tls");
    }
    const auto stored = settings::StoredSettings::Read();
    if (!stored) return -1;

    return ExchangeAndSave(staged, false, {*stored, ""}, ServerSteps());
}

/// Runs a change under the lock.
int Change(int (*change)(const std::string&), const std::string& what)
{
    return system::WithoutExceptions("an earlier state", [change, &what] {
        const WriteScope scope;
        return scope.ok() ? change(what) : -1;
    });
}

}  // namespace

int RestoreState(const std::string& staged)
{
    return IsOurs(staged) ? Change(RestoreStaged, staged) : Refuse(staged, "is not root's alone");
}

int ReplaceCertificate(const std::string& staged)
{
    return IsOurs(staged) ? Change(ReplaceStagedCertificate, staged)
                          : Refuse(staged, "is not root's alone");
}

int RollBack(const std::string& generation)
{
    return Change(RollBackTo, generation);
}

}  // namespace host::save
