// The exchange of stored files. It lies in etc/exchange: `new` has the files to be put in place,
// `old` gets the files that they replace, `added` lists the names of which there was no file
// before. Example: tls is in `old` and not in `new`, so it has been replaced.
#include "host/libmailvane/save/exchange.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/render/attachment_checks.h"
#include "host/libmailvane/render/personal_script.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"
#include "host/libmailvane/system/user_script.h"

namespace fs = std::filesystem;

namespace host::save {

namespace {

constexpr char kFragments[] = "local.d";
constexpr const char* kStoredData[] = {"alias.db", "mailvane.db", "attachment_types", "rules",
                                       "dkim.key", "tls",         "personal",         "report.conf",
                                       "htpasswd", kFragments,    "report.state"};
const char kPersonal[] = "personal";
const char kNameEnd[] = ".json";

std::string InForce(const std::string& name)
{
    return PackagePath("etc/" + name);
}

std::string ExchangeFolder()
{
    return PackagePath("etc/exchange");
}

std::string OldOf(const std::string& name)
{
    return ExchangeFolder() + "/old/" + name;
}

std::string NewOf(const std::string& name)
{
    return ExchangeFolder() + "/new/" + name;
}

std::string AddedPath()
{
    return ExchangeFolder() + "/added";
}

/// Renames a file or directory; succeeds when there is none.
Result<void> MoveIfThere(const std::string& from, const std::string& to)
{
    if (!system::NameExists(from) || std::rename(from.c_str(), to.c_str()) == 0) return {};
    return SystemReason(from, "cannot move " + from + " to " + to);
}

Result<void> SyncAll()
{
    for (const std::string& path : {InForce("x"), OldOf("x"), NewOf("x")}) {
        if (!system::SyncFolderOf(path)) return SystemReason(path, "cannot sync the exchange");
    }
    return {};
}

std::set<std::string> AddedNames()
{
    std::string text;
    if (!ReadFile(AddedPath(), text)) return {};

    std::istringstream lines(text);
    std::set<std::string> names;
    for (std::string name; std::getline(lines, name);) names.insert(name);
    return names;
}

/// Makes the folder of an exchange. The exchange is under way once the last rename here is done.
Result<void> PrepareExchange(const std::string& staged)
{
    DropExchange();
    std::string added;
    for (const char* name : kStoredData) {
        if (!system::NameExists(InForce(name))) added.append(name).append("\n");
    }
    const std::string folder = ExchangeFolder();
    if (MakeDirectories(folder + "/old", 0700) && ReplaceFile(AddedPath(), added, 0600) &&
        std::rename(staged.c_str(), (folder + "/new").c_str()) == 0) {
        return SyncAll();
    }
    return SystemReason(staged, "cannot prepare the exchange of " + staged);
}

Result<void> RollBackEntry(const std::string& name, bool wasAdded)
{
    // A file that is still in `new` was not put in place.
    const bool replaced = system::NameExists(OldOf(name));
    if (!replaced && (!wasAdded || system::NameExists(NewOf(name)))) return {};

    Result<void> moved = MoveIfThere(InForce(name), NewOf(name));
    return moved ? MoveIfThere(OldOf(name), InForce(name)) : moved;
}

/// Adds the names of the users whose personal settings are in a folder.
void AddUsers(const std::string& folder, std::set<std::string>& users)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const fs::path name = entry.path().filename();
        if (name.extension() == kNameEnd) users.insert(name.stem().string());
    }
}

/// The stored text of a user in a folder; empty when there is none.
std::string StoredText(const std::string& folder, const std::string& user)
{
    std::string text;
    if (!ReadFile(folder + "/" + user + kNameEnd, text)) text.clear();
    return text;
}

/// Writes the script that the stored personal settings of a user ask for, or removes it. A name
/// that is no user of this machine has no script.
Result<void> FollowPersonalSettings(const std::string& user)
{
    const Result<system::MailAccount> account = system::FindMailAccount(user);
    if (!account) {
        if (account.reason().code == ReasonCode::kDaemonIsDown) return account.reason();
        Log(LOG_WARNING, "no script for personal settings: %s", account.reason().text.c_str());
        return {};
    }
    const auto settings = stores::ReadPersonalSettings(*account);
    if (!settings) return settings.reason();
    return system::PutUserScript(*account, render::RenderPersonalScript(*settings));
}

Result<void> FollowAllPersonalSettings()
{
    // The settings that the exchange replaced are in `old`, after it was rolled back in `new`.
    const std::string folders[] = {InForce(kPersonal), OldOf(kPersonal), NewOf(kPersonal)};
    std::set<std::string> users;
    for (const std::string& folder : folders) AddUsers(folder, users);
    const std::string& other = system::NameExists(folders[1]) ? folders[1] : folders[2];
    for (const std::string& user : users) {
        if (StoredText(folders[0], user) == StoredText(other, user)) continue;
        Result<void> done = FollowPersonalSettings(user);
        if (!done) return done;
    }
    return {};
}

}  // namespace

bool IsStoredData(const std::string& name)
{
    return std::find(std::begin(kStoredData), std::end(kStoredData), name) != std::end(kStoredData);
}

Result<void> BeginExchange(const std::string& staged, bool whole)
{
    Result<void> done = PrepareExchange(staged);
    if (!done) return done;

    for (const char* name : kStoredData) {
        const bool mayStay = !whole || std::strcmp(name, kFragments) == 0;
        if (mayStay && !system::NameExists(NewOf(name))) continue;
        done = MoveIfThere(InForce(name), OldOf(name));
        if (done) done = MoveIfThere(NewOf(name), InForce(name));
        if (!done) return done;
    }
    return SyncAll();
}

bool ExchangeIsUnderWay()
{
    return system::NameExists(ExchangeFolder() + "/new");
}

Result<void> RollBackExchange()
{
    if (!ExchangeIsUnderWay()) return {};

    const std::set<std::string> added = AddedNames();
    for (const char* name : kStoredData) {
        Result<void> taken = RollBackEntry(name, added.count(name) != 0);
        if (!taken) return taken;
    }
    return SyncAll();
}

void KeepExchange()
{
    if (!ExchangeIsUnderWay()) return;

    // After this rename no exchange is under way.
    const std::string kept = ExchangeFolder() + ".kept";
    std::error_code error;
    fs::remove_all(kept, error);
    if (!Succeeded(MoveIfThere(ExchangeFolder(), kept)) || !system::SyncFolderOf(kept)) return;

    fs::remove_all(InForce("replaced"), error);
    (void)Succeeded(MoveIfThere(kept + "/old", InForce("replaced")));
    fs::remove_all(kept, error);
}

void DropExchange()
{
    std::error_code error;
    fs::remove_all(ExchangeFolder(), error);
}

Result<void> BringStoredDataInLine()
{
    const auto settings = settings::StoredSettings::Read();
    if (!settings) return settings.reason();
    Result<void> done = HealAccounts(settings->Account());
    if (!done) return done;

    std::vector<ListFileMaker> lists = AccountLists();
    lists.emplace_back(render::AttachmentFiles);
    done = RebuildLists(lists);
    return done && ExchangeIsUnderWay() ? FollowAllPersonalSettings() : done;
}

int FollowStoredData(const std::string& /*unused*/)
{
    return Status(BringStoredDataInLine());
}

}  // namespace host::save
