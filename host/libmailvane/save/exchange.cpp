// The exchange of stored files. It lies in etc/exchange: `new` has the files to be put in place,
// `old` gets the files that they replace, `added` lists the names of which there was no file
// before. Example: tls is in `old` and not in `new`, so it has been replaced.
#include "host/libmailvane/save/exchange.h"

#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/save/personal_change.h"
#include "host/libmailvane/stores/stored_files.h"
#include "host/libmailvane/system/durable_move.h"

namespace fs = std::filesystem;

namespace host::save {

namespace {

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

/// The names of all that an exchange moves.
std::vector<std::string> ExchangedNames()
{
    std::vector<std::string> names;
    for (const stores::StoredFile& file : stores::kStoredFiles) {
        if (stores::IsExchanged(file)) names.emplace_back(file.name);
    }
    return names;
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
    for (const std::string& name : ExchangedNames()) {
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

Result<void> FollowAllPersonalSettings()
{
    // The settings that the exchange replaced are in `old`, after it was rolled back in `new`.
    const std::string folders[] = {InForce(kPersonal), OldOf(kPersonal), NewOf(kPersonal)};
    std::set<std::string> users;
    for (const std::string& folder : folders) AddUsers(folder, users);
    const std::string& other = system::NameExists(folders[1]) ? folders[1] : folders[2];
    for (const std::string& user : users) {
        if (StoredText(folders[0], user) == StoredText(other, user)) continue;
        Result<void> done = FinishPersonalChange(user);
        if (!done) return done;
    }
    return {};
}

}  // namespace

Result<void> BeginExchange(const std::string& staged, bool whole,
                           const std::set<std::string>& leaving)
{
    Result<void> done = PrepareExchange(staged);
    if (!done) return done;

    for (const std::string& name : ExchangedNames()) {
        const bool mayStay =
            !whole || stores::FindStoredFile(name)->keeping == stores::Keeping::kFolderOnRequest;
        if (mayStay && leaving.count(name) == 0 && !system::NameExists(NewOf(name))) continue;
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
    for (const std::string& name : ExchangedNames()) {
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

Result<void> FollowPersonalSettings()
{
    return ExchangeIsUnderWay() ? FollowAllPersonalSettings() : Result<void>();
}

int FollowStoredData(const std::string& /*unused*/)
{
    return Status(FollowPersonalSettings());
}

}  // namespace host::save
