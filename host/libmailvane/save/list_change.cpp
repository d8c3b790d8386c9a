// Changing lists, and putting them in force.
#include "host/libmailvane/save/list_change.h"

#include <algorithm>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/render/settings_files.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/progress.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/validate.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/postfix.h"

namespace host::save {

namespace {

using Store = std::function<Result<void>()>;

// Words of a mark: the first of a change of lists, and others beside the names of lists.
const char kListChange[] = "lists";
const char kWithSettings[] = "settings";
const char kRuleSets[] = "rules";

/// What comes in force together.
struct Change {
    std::string words;  ///< of its mark
    Files files;
    const settings::StoredSettings* settings = nullptr;  ///< unless they stay as they are
    Store store = [] { return Result<void>(); };         ///< run last
};

std::string WordsOf(const Lists& lists)
{
    std::string words = kListChange;
    for (const render::List* list : lists) words.append(" ").append(list->name);
    return words;
}

Lists ListsOf(const generation::PendingSave& mark)
{
    Lists lists;
    std::string_view words = mark.change;
    while (!words.empty()) {
        if (const render::List* list = render::FindList(daemons::NextWord(words))) {
            lists.push_back(list);
        }
    }
    return lists;
}

/// Restarts the scanner, which reads its lists when it starts, and the mail server. Failures are
/// logged by the services. On a machine that is not handed over, its own mail servers read no list.
Result<void> RestartReaders(bool scanner, bool mailServer)
{
    if (!daemons::ServicesAreOurs()) return {};
    const bool scannerIsUp =
        !scanner || Succeeded(daemons::RunControlScript(daemons::kScanner, "restart"));
    const bool mailServerIsUp = !mailServer || Postfix::Service("restart") >= 0;
    if (scannerIsUp && mailServerIsUp) return {};
    const daemons::Daemon& down = scannerIsUp ? daemons::kPostfix : daemons::kScanner;
    return Reason{ReasonCode::kDaemonIsDown, Subject::Service(down),
                  "the " + std::string(down.label) + " does not come up again"};
}

/// Whether the scanner reads what has changed, or what a change fills.
bool ScannerReads(const generation::NextGeneration& next)
{
    return next.Changed("amavis/");
}

bool ScannerReads(const generation::PendingSave& mark)
{
    const Lists lists = ListsOf(mark);
    return daemons::HasWord(mark.change, kRuleSets) ||
           std::any_of(lists.begin(), lists.end(), [](const render::List* list) {
               return list->files.find("amavis/") != std::string_view::npos;
           });
}

/// Whether the mail server reads what a change fills.
bool MailServerReads(const generation::PendingSave& mark)
{
    return !daemons::HasWord(mark.change, kRuleSets);
}

/// Activates the generation from before a change again. Failures are only logged: the caller
/// returns the reason why the change failed.
void TakeBack(const generation::PendingSave& mark, bool scanner)
{
    Log(LOG_ERR, "the change of %s is taken back", mark.change.c_str());
    const std::string abandoned = generation::CurrentGeneration();
    // After a failure here the mark stays, and the next writer rolls back.
    if (abandoned != mark.before && !Succeeded(generation::Activate(mark.before))) return;

    (void)Succeeded(RestartReaders(scanner, MailServerReads(mark)));
    (void)Succeeded(generation::ClearPendingSave());
    if (abandoned != mark.before) generation::RemoveGeneration(abandoned);
}

/// Puts a validated generation in force, and stores what it was made from.
Result<void> ApplyMarked(generation::NextGeneration& next, const generation::PendingSave& mark,
                         const Store& store)
{
    Result<void> done = generation::MarkPendingSave(mark);
    if (!done) return done;

    done = next.Commit();
    if (!done) {
        (void)Succeeded(generation::ClearPendingSave());
        return done;
    }
    done = RestartReaders(ScannerReads(next), MailServerReads(mark));
    if (done) done = store();
    if (!done) {
        TakeBack(mark, ScannerReads(next));
        return done;
    }
    // Whoever changes rule sets restarts the scanner after it.
    const bool isRestarted = ScannerReads(next) && daemons::ServicesAreOurs();
    if (isRestarted && daemons::HasWord(mark.change, kRuleSets)) daemons::SpareScanner();
    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(mark.before);
    return {};
}

/// The same within a save that is under way: it makes one generation of it all, and restarts the
/// mail server itself.
Result<void> ApplyWithin(generation::NextGeneration& next, const generation::PendingSave& save,
                         const Store& store)
{
    const std::string replaced = generation::CurrentGeneration();
    Result<void> done = next.Commit();
    if (!done) return done;

    if (replaced != save.before) generation::RemoveGeneration(replaced);
    done = RestartReaders(ScannerReads(next), false);
    return done ? store() : done;
}

Result<void> Validate(const generation::NextGeneration& next, const Change& change)
{
    return change.settings == nullptr ? MapsAnswer(next)
                                      : ValidateGeneration(next, *change.settings);
}

/// Makes a generation of a change and puts it in force.
Result<void> Apply(const Change& change)
{
    const auto attempt = [&change] { return system::Attempt(kListChange, change.store); };
    Progress progress;
    progress.Expect(3);
    progress.Begin("render");
    generation::NextGeneration next;
    for (const generation::ListFile& file : change.files) next.Put(file);
    if (change.settings != nullptr) render::PutSettingsFiles(next, *change.settings);
    Result<void> done = next.Complete();
    if (!done) return done;
    if (!next.Changed("")) return attempt();

    progress.Begin("validate");
    done = Validate(next, change);
    if (!done) return done;
    progress.Begin("restart");
    if (const auto save = generation::ReadPendingSave()) return ApplyWithin(next, *save, attempt);
    return ApplyMarked(next, {generation::CurrentGeneration(), change.words}, attempt);
}

/// Opens the database of a list for changes, after making it that of the stored accounts.
Result<SQLite::Database> ChangeDatabaseOf(const render::List& list)
{
    const auto settings = settings::StoredSettings::Read();
    Result<void> healed = settings ? HealAccounts(settings->Account()) : settings.reason();
    if (!healed) {
        return std::move(healed).reason().Causing(
            "account source", "the lists of the stored account source are not at hand");
    }
    return stores::ChangeAccountDatabase(DatabaseOf(list));
}

/// Runs a change within a transaction of the store, which `finish` ends.
Result<void> Within(const render::List& list, const char* what, const ListChange& change,
                    const std::function<Result<void>(SQLite::Database&, const Store&)>& finish)
{
    const auto changeAll = [&]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        Result<SQLite::Database> store = ChangeDatabaseOf(list).Prefixed(std::string(what) + ": ");
        if (!store) return std::move(store).reason();
        SQLite::Transaction transaction(*store, SQLite::TransactionBehavior::IMMEDIATE);
        Result<void> done = change(*store);
        if (!done) return done;
        return finish(*store, [&transaction]() -> Result<void> {
            transaction.commit();
            return {};
        });
    };
    return system::Attempt(what, changeAll).About(Subject::List(list));
}

/// Makes what a killed change of lists left what the store says.
Result<void> FollowStore(const generation::PendingSave& mark)
{
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();
    const Result<Files> files = StoredListFiles(ListsOf(mark), *settings);
    if (!files) return files.reason();

    generation::NextGeneration next;
    for (const generation::ListFile& file : *files) next.Put(file);
    Result<void> done = next.Complete();
    if (!done || !next.Changed("")) return done;
    // What is not stored yet takes its settings with it.
    if (daemons::HasWord(mark.change, kWithSettings)) return generation::Activate(mark.before);
    done = MapsAnswer(next);
    return done ? next.Commit() : done;
}

}  // namespace

Result<void> StoreChange(const render::List& list, const char* what, const ListChange& change)
{
    return Within(list, what, change,
                  [](SQLite::Database&, const Store& store) { return store(); });
}

Result<void> StoreAndApply(const render::List& list, const char* what, const ListChange& change,
                           const SettingsChange& settingsChange)
{
    const ListChange quiet = [&change](SQLite::Database& store) {
        // Others read on until the end: no page of it is written before.
        store.exec("PRAGMA main.cache_spill = 1000000000");
        return change(store);
    };
    return Within(list, what, quiet, [&](SQLite::Database& store, const Store& commit) {
        auto settings = settings::StoredSettings::Read();
        if (!settings) return Result<void>(std::move(settings).reason());
        if (settingsChange) settingsChange(*settings);
        Result<Files> files = FilesOf(list, {*settings, store, {}});
        if (!files) return Result<void>(std::move(files).reason());

        Change whole{WordsOf({&list}), *std::move(files), nullptr, commit};
        if (settingsChange) {
            whole.words.append(" ").append(kWithSettings);
            whole.settings = &*settings;
        }
        return Apply(whole);
    });
}

Result<void> StoreAndApplyTypes(const std::vector<std::string>& types)
{
    const auto storeAndApply = [&types]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        const auto settings = settings::StoredSettings::Read();
        if (!settings) return settings.reason();
        SQLite::Database none(":memory:");
        Result<Files> files = FilesOf(render::kAttachmentList, {*settings, none, types});
        if (!files) return std::move(files).reason();
        return Apply({WordsOf({&render::kAttachmentList}), *std::move(files), nullptr,
                      [&types] { return stores::StoreAttachmentTypes(types); }});
    };
    return system::Attempt("attachment types", storeAndApply)
        .About(Subject::List(render::kAttachmentList));
}

Result<void> ApplySpamRules(const std::string& rules)
{
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();
    Change change{std::string(kListChange) + " " + kRuleSets, {}};
    change.files.push_back({render::kSpamRules, rules, false});
    return Apply(change).About(Subject::List(kRuleSets));
}

Result<void> ApplyLists(const Lists& lists)
{
    const auto apply = [&lists]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        const auto settings = settings::StoredSettings::Read();
        if (!settings) return settings.reason();
        const Result<bool> switching = SwitchIsUnderWay(settings->Account());
        if (!switching) return switching.reason();
        if (*switching) return {};

        Result<Files> files = StoredListFiles(lists, *settings);
        return files ? Apply({WordsOf(lists), *std::move(files)}) : std::move(files).reason();
    };
    return system::Attempt("maps", apply).About(Subject::List(*lists.front()));
}

Result<void> RepairLists(const std::string& folder)
{
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();

    Result<void> repaired = generation::RepairManifest();
    if (!repaired) return repaired;
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();
    const generation::PendingSave mark{generation::CurrentGeneration(), WordsOf(AccountLists())};
    Result<void> done = generation::MarkPendingSave(mark);
    if (!done) return done;

    if (!folder.empty()) done = stores::BringBack(folder, settings->Account());
    if (done) done = stores::SwitchDatabases(settings->Account());
    if (done) done = system::Attempt("maps", [&mark] { return FollowStore(mark); });
    if (done) done = RestartReaders(ScannerReads(mark), true);
    (void)Succeeded(generation::ClearPendingSave());
    generation::PruneGenerations(mark.before);
    return done;
}

bool IsListChange(const generation::PendingSave& mark)
{
    std::string_view words = mark.change;
    return daemons::NextWord(words) == kListChange;
}

Result<void> FinishListChange(const generation::PendingSave& mark)
{
    // What was made for it, and never came in force.
    generation::RemoveGenerationsAfter(generation::CurrentGeneration());
    const Result<void> finished = system::Attempt("maps", [&mark] { return FollowStore(mark); });
    if (!Succeeded(finished) && generation::CurrentGeneration() != mark.before) {
        Result<void> undone = generation::Activate(mark.before);
        if (!undone) return undone;
    }
    if (generation::CurrentGeneration() == mark.before) {
        generation::RemoveGenerationsAfter(mark.before);
    }
    // A daemon that does not come up must not keep the next change away.
    (void)Succeeded(RestartReaders(ScannerReads(mark), MailServerReads(mark)));
    return {};
}

}  // namespace host::save
