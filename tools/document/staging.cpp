// A document on its way into force. The staged copy has all stored files that a section is about;
// what no section changes is taken out again, before the rest comes in force.
#include "tools/document/staging.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/pages/staged_state.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/confirm.h"
#include "host/libmailvane/save/restore.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/stored_files.h"
#include "host/libmailvane/system/database.h"
#include "tools/document/overlays.h"

namespace document {

namespace {

namespace fs = std::filesystem;
using host::ReasonCode;
using host::Result;

std::string Below(const std::string& folder, std::string_view name)
{
    return std::string(folder).append("/").append(name);
}

std::string Etc()
{
    return host::PackagePath("etc");
}

/// The stored files that sections are about, each once. Databases are copied apart.
std::set<std::string> FilesOfSections()
{
    std::set<std::string> files;
    for (const Section& section : AllSections()) {
        const host::stores::StoredFile* const file = host::stores::FindStoredFile(section.file);
        if (file != nullptr && file->keeping != host::stores::Keeping::kDatabase) {
            files.emplace(file->name);
        }
    }
    return files;
}

void CopyFiles(const std::string& folder)
{
    for (const std::string& name : FilesOfSections()) {
        const fs::path from = Below(Etc(), name);
        if (!fs::exists(from)) continue;
        fs::copy(from, Below(folder, name),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        fs::permissions(Below(folder, name), fs::status(from).permissions());
    }
}

/// Folders are there even when empty.
void MakeFolders(const std::string& folder)
{
    for (const std::string& name : FilesOfSections()) {
        const host::stores::StoredFile* const file = host::stores::FindStoredFile(name);
        if (file->keeping != host::stores::Keeping::kFolder) continue;
        (void)host::MakeDirectories(Below(folder, name), file->mode);
    }
}

/// The secrets that are given, over those that are stored.
std::map<std::string, Secret> SecretsOf(const Request& request, const State& state, Faults& faults)
{
    std::map<std::string, Secret> secrets = StoredSecrets(state);
    const auto given = ReadYaml(request.secrets);
    const Node* const map = std::get_if<Node>(&given);
    const bool isMap = map != nullptr &&
                       (map->kind == Node::Kind::kMap || map->isNothing || request.secrets.empty());
    if (!isMap) {
        faults.push_back({0, "secrets", ReasonCode::kBadFormat, "are no map of names and values"});
        return secrets;
    }
    for (const auto& [name, value] : map->members) secrets[name.text] = {value.text, true};
    return secrets;
}

/// Copies the databases of the accounts that the settings serve. The address that gets a copy of
/// all mail belongs to them, too.
Result<void> BringLists(const State& stored, State& staged)
{
    const auto account = staged.settings.Account();
    if (!(account == stored.settings.Account())) {
        staged.settings.SetAlwaysBcc(host::stores::ParkedAlwaysBcc(account).value_or(""));
    }
    return host::stores::CopyDatabases(account, staged.folder);
}

/// Makes the staged copy, with the document's changes in it.
Result<State> MakeStaged(const Request& request, const State& stored, Faults& faults)
{
    const Node document = ReadLaidOver(request.texts, faults);
    if (!faults.empty()) return stored;
    CopyFiles(request.folder);
    MakeFolders(request.folder);
    State staged{request.folder, stored.settings, stored.rules};
    Merge merge{staged, request.prunes, SecretsOf(request, stored, faults), faults,
                [&] { return BringLists(stored, staged); }};
    Result<void> merged = MergeDocument(document, merge);
    if (!merged) return std::move(merged).reason();
    return staged;
}

/// Writes what a generation stores into the folder, for the checks.
Result<void> WriteSettings(const State& staged)
{
    const std::pair<std::string_view, std::string> files[] = {
        {"mailvane.conf", staged.settings.SettingsText()},
        {"domains", staged.settings.DomainsText()},
        {"dnsbl", staged.settings.BlocklistsText()},
        {host::stores::kStagedRules, staged.rules},
    };
    for (const auto& [name, text] : files) {
        const std::string path = Below(staged.folder, name);
        if (!host::ReplaceFile(path, text, 0600)) return host::SystemReason(path, path);
    }
    return {};
}

/// The change that brings the differences in force. Stored files without one leave the folder.
host::save::StateChange ChangeOf(const State& stored, const State& staged,
                                 const std::vector<Difference>& differences)
{
    host::save::StateChange change{staged.folder, staged.settings, std::nullopt, {}};
    if (stored.rules != staged.rules) change.rules = staged.rules;
    for (const Difference& difference : differences) {
        const auto* const list = difference.section->list;
        auto& lists = change.lists;
        if (list != nullptr && std::find(lists.begin(), lists.end(), list) == lists.end()) {
            lists.push_back(list);
        }
    }
    return change;
}

void RemoveUnchanged(const State& stored, const State& staged,
                     const std::vector<Difference>& differences)
{
    std::set<std::string_view> kept;
    for (const Difference& difference : differences) kept.insert(difference.section->file);
    const bool switches = !(stored.settings.Account() == staged.settings.Account());
    for (const auto& entry : fs::directory_iterator(staged.folder)) {
        const std::string name = entry.path().filename().string();
        const host::stores::StoredFile* const file = host::stores::FindStoredFile(name);
        const bool follows =
            switches && file != nullptr && file->keeping == host::stores::Keeping::kDatabase;
        if (kept.count(name) == 0 && !follows) fs::remove_all(entry.path());
    }
}

/// Puts a change in force that waits to be confirmed.
Result<std::list<Callback>> PutInForceUnconfirmed(host::save::StateChange change,
                                                  std::int64_t seconds)
{
    std::list<Callback> plan;
    Result<void> done = host::save::MakeUnconfirmed(
        seconds, {change.staged, change.settings.Account()},
        [&](const host::save::BeforeCommit& beforeCommit) -> Result<void> {
            change.beforeCommit = beforeCommit;
            auto ran = host::save::PutInForce(change);
            if (!ran) return std::move(ran).reason();
            plan = *std::move(ran);
            return {};
        });
    if (!done) return std::move(done).reason();
    return plan;
}

Result<std::list<Callback>> Do(const Request& request, Deed deed, const State& stored,
                               const State& staged, const std::vector<Difference>& differences)
{
    Result<void> good = WriteSettings(staged);
    if (good) good = host::pages::CheckStagedState(staged.folder);
    if (!good) return std::move(good).reason();
    const host::save::StateChange change = ChangeOf(stored, staged, differences);
    if (deed == Deed::kRehearsed) return host::save::Rehearse(change);
    RemoveUnchanged(stored, staged, differences);
    if (request.confirmSeconds) return PutInForceUnconfirmed(change, *request.confirmSeconds);
    return host::save::PutInForce(change);
}

}  // namespace

Result<State> StateInForce()
{
    auto settings = host::settings::StoredSettings::Read();
    if (!settings) return std::move(settings).reason();
    Result<void> healed = host::save::HealAccounts(settings->Account());
    if (healed) healed = host::stores::CheckAccountData(settings->Account());
    if (!healed) return std::move(healed).reason();
    State state{Etc(), *std::move(settings), ""};
    const std::string rules =
        host::generation::GeneratedDirectory() + "/current/" + host::render::kSpamRules;
    if (!host::ReadFile(rules, state.rules)) return host::SystemReason(rules, rules);
    return state;
}

Result<Outcome> Carry(const Request& request, Deed deed)
{
    const Result<State> stored = StateInForce();
    if (!stored) return stored.reason();
    Outcome outcome;
    const Result<State> staged = MakeStaged(request, *stored, outcome.faults);
    if (!staged) return staged.reason();
    if (!outcome.faults.empty()) return outcome;

    const Result<Parts> before = ReadParts(*stored, true);
    if (!before) return before.reason();
    Result<Parts> after = ReadParts(*staged, true);
    if (!after) return std::move(after).reason();
    outcome.differences = DifferencesOf(*before, *after);
    outcome.before = TextOf(*before, Secrets::kNamed);
    outcome.after = TextOf(*after, Secrets::kNamed);
    if (deed == Deed::kCompared || outcome.differences.empty()) return outcome;

    auto plan = Do(request, deed, *stored, *staged, outcome.differences);
    if (!plan) return std::move(plan).reason();
    outcome.plan = *std::move(plan);
    if (request.confirmSeconds) outcome.unconfirmed = host::FindUnconfirmedChange();
    return outcome;
}

}  // namespace document
