// Changing lists, and putting them in force.
#include "host/libmailvane/save/list_change.h"

#include <algorithm>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/validate.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace host::save {

namespace {

using Files = std::vector<generation::ListFile>;
using Store = std::function<Result<void>()>;

const char kListChange[] = "lists";

generation::PendingSave MarkOf(const Lists& lists)
{
    generation::PendingSave mark{generation::CurrentGeneration(), kListChange};
    for (const render::List* list : lists) mark.change.append(" ").append(list->name);
    return mark;
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
    const bool scannerIsUp = !scanner || MailScanner::Service("restart") >= 0;
    const bool mailServerIsUp = !mailServer || Postfix::Service("restart") >= 0;
    if (scannerIsUp && mailServerIsUp) return {};
    const std::string down(scannerIsUp ? daemons::kPostfix.label : daemons::kScanner.label);
    return Reason{ReasonCode::kDaemonIsDown, down, "the " + down + " does not come up again"};
}

/// Whether the scanner reads what has changed, or what one of the lists fills.
bool ScannerReads(const generation::NextGeneration& next)
{
    return next.Changed("amavis/");
}

bool ScannerReads(const Lists& lists)
{
    return std::any_of(lists.begin(), lists.end(), [](const render::List* list) {
        return list->files.find("amavis/") != std::string_view::npos;
    });
}

/// Activates the generation from before a change again. Failures are only logged: the caller
/// returns the reason why the change failed.
void TakeBack(const generation::PendingSave& mark, bool scanner)
{
    Log(LOG_ERR, "the change of %s is taken back", mark.change.c_str());
    const std::string abandoned = generation::CurrentGeneration();
    // After a failure here the mark stays, and the next writer rolls back.
    if (abandoned != mark.before && !Succeeded(generation::Activate(mark.before))) return;

    (void)Succeeded(RestartReaders(scanner, true));
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
    done = RestartReaders(ScannerReads(next), true);
    if (done) done = store();
    if (!done) {
        TakeBack(mark, ScannerReads(next));
        return done;
    }
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

/// Makes a generation with these files and puts it in force, and runs `store` last.
Result<void> Apply(const Lists& lists, const Files& files, const Store& store)
{
    const auto attempt = [&store] { return system::Attempt(kListChange, store); };
    generation::NextGeneration next;
    for (const generation::ListFile& file : files) next.Put(file);
    Result<void> done = next.Complete();
    if (!done) return done;
    if (!next.Changed("")) return attempt();

    done = MapsAnswer(next);
    if (!done) return done;
    if (const auto save = generation::ReadPendingSave()) return ApplyWithin(next, *save, attempt);
    return ApplyMarked(next, MarkOf(lists), attempt);
}

stores::AccountDatabase DatabaseOf(const render::List& list)
{
    return list.store == render::ListStore::kAliasDatabase ? stores::AccountDatabase::kAlias
                                                           : stores::AccountDatabase::kMailvane;
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
    return system::Attempt(what, [&]() -> Result<void> {
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
    });
}

Result<Files> FilesOf(const render::List& list, const render::ListSources& sources)
{
    return render::MakeFiles(list, sources).Prefixed("maps: ");
}

/// The files of one list as it is stored.
Result<Files> StoredFilesOf(const render::List& list, const settings::StoredSettings& settings)
{
    const bool hasDatabase = render::IsOfAccounts(list);
    Result<std::vector<std::string>> types = std::vector<std::string>();
    if (!hasDatabase) types = stores::AttachmentTypes();
    if (!types) return std::move(types).reason();

    auto database = hasDatabase ? stores::ReadAccountDatabase(DatabaseOf(list)).Prefixed("maps: ")
                                : SQLite::Database(":memory:");
    if (!database) return std::move(database).reason();
    return system::Attempt("maps", [&] {
        return FilesOf(list, {settings, *database, *std::move(types)});
    });
}

}  // namespace

Lists AllLists()
{
    Lists lists;
    for (const render::List& list : render::kLists) lists.push_back(&list);
    return lists;
}

Lists AccountLists()
{
    Lists lists;
    for (const render::List& list : render::kLists) {
        if (render::IsOfAccounts(list)) lists.push_back(&list);
    }
    return lists;
}

Result<void> StoreChange(const render::List& list, const char* what, const ListChange& change)
{
    return Within(list, what, change,
                  [](SQLite::Database&, const Store& store) { return store(); });
}

Result<void> StoreAndApply(const render::List& list, const char* what, const ListChange& change)
{
    const ListChange quiet = [&change](SQLite::Database& store) {
        // Others read on until the end: no page of it is written before.
        store.exec("PRAGMA main.cache_spill = 1000000000");
        return change(store);
    };
    return Within(list, what, quiet, [&list](SQLite::Database& store, const Store& commit) {
        const auto settings = settings::StoredSettings::Read();
        if (!settings) return Result<void>(settings.reason());
        const Result<Files> files = FilesOf(list, {*settings, store, {}});
        return files ? Apply({&list}, *files, commit) : files.reason();
    });
}

Result<void> StoreAndApplyTypes(const std::vector<std::string>& types)
{
    return system::Attempt("attachment types", [&types]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        const auto settings = settings::StoredSettings::Read();
        if (!settings) return settings.reason();
        SQLite::Database none(":memory:");
        const Result<Files> files = FilesOf(render::kAttachmentList, {*settings, none, types});
        if (!files) return files.reason();
        return Apply({&render::kAttachmentList}, *files,
                     [&types] { return stores::StoreAttachmentTypes(types); });
    });
}

Result<Files> StoredListFiles(const Lists& lists, const settings::StoredSettings& settings)
{
    Files all;
    for (const render::List* list : lists) {
        Result<Files> files = StoredFilesOf(*list, settings);
        if (!files) return files;
        for (generation::ListFile& file : *files) all.push_back(std::move(file));
    }
    return all;
}

Result<void> ApplyLists(const Lists& lists)
{
    return system::Attempt("maps", [&lists]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        const auto settings = settings::StoredSettings::Read();
        if (!settings) return settings.reason();
        const Result<bool> switching = SwitchIsUnderWay(settings->Account());
        if (!switching) return switching.reason();
        if (*switching) return {};

        const Result<Files> files = StoredListFiles(lists, *settings);
        if (!files) return files.reason();
        return Apply(lists, *files, [] { return Result<void>(); });
    });
}

Result<void> RepairLists()
{
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();

    Result<void> repaired = generation::RepairManifest();
    if (!repaired) return repaired;
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();
    repaired = stores::SwitchDatabases(settings->Account());
    return repaired ? ApplyLists(AccountLists()) : repaired;
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
    const Result<void> finished = system::Attempt("maps", [&mark]() -> Result<void> {
        const auto settings = settings::StoredSettings::Read();
        if (!settings) return settings.reason();
        const Result<Files> files = StoredListFiles(ListsOf(mark), *settings);
        if (!files) return files.reason();

        generation::NextGeneration next;
        for (const generation::ListFile& file : *files) next.Put(file);
        Result<void> done = next.Complete();
        if (done && next.Changed("")) done = MapsAnswer(next);
        if (done && next.Changed("")) done = next.Commit();
        return done;
    });
    if (!Succeeded(finished) && generation::CurrentGeneration() != mark.before) {
        Result<void> undone = generation::Activate(mark.before);
        if (!undone) return undone;
    }
    // A daemon that does not come up must not keep the next change away.
    (void)Succeeded(RestartReaders(ScannerReads(ListsOf(mark)), true));
    return {};
}

}  // namespace host::save
