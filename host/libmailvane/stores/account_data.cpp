// The data that the mail server keeps per account combination. Reads and writes etc/alias.db,
// etc/mailvane.db, the key always_bcc of etc/mailvane.conf and target/etc/alias_bkp/.
//
// A switch of the program moves each live file to the parked name of the old combination, then the
// file parked under the new one, if any, to the live name; it stores the new combination last. So a
// parked always-BCC file of the stored combination means that a switch away from it began and did
// not end, and that the value in it is the true one.
#include "host/libmailvane/stores/account_data.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/account_record.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::stores {
namespace {

constexpr char kAlwaysBccKey[] = "always_bcc";
constexpr char kAlwaysBccSuffix[] = "_alwaysBCC";
constexpr AccountDatabase kDatabases[] = {AccountDatabase::kAlias, AccountDatabase::kMailvane};

std::string ParkingFolder()
{
    return PackagePath("target/etc/alias_bkp");
}

std::string ParkedPath(const settings::AccountCombination& combination, const char* suffix)
{
    return ParkingFolder() + "/" + combination.type + "_" + combination.domain + suffix;
}

/// Whether the combination can be part of a file name: a name that leads elsewhere never becomes a
/// path.
bool CanBeParked(const settings::AccountCombination& combination)
{
    const std::string name = combination.type + "_" + combination.domain;
    const bool plain = std::none_of(name.begin(), name.end(),
                                    [](char letter) { return letter == '/' || IsControl(letter); });
    return plain && name.find("..") == std::string::npos;
}

/// Whether a journal with something in it lies beside a database.
bool HasJournal(const std::string& database)
{
    struct stat status {};
    return ::stat((database + "-journal").c_str(), &status) == 0 && status.st_size > 0;
}

/// Moves a live database to the parked name of its combination. What lies there already is kept.
bool Park(const AccountStore& store, const settings::AccountCombination& owner)
{
    const std::string live = PackagePath(store.live);
    if (!CanBeParked(owner))
        return system::KeepAside(live, "belongs to an account domain with no safe name");

    const std::string parked = ParkedPath(owner, store.parkedSuffix);
    if (!MakeDirectories(ParkingFolder(), 0755)) {
        Log(LOG_ERR, "cannot make %s: %s", ParkingFolder().c_str(), ErrnoText());
        return false;
    }
    if (system::NameExists(parked) && !system::KeepAside(parked, "would be overwritten"))
        return false;
    return system::MoveDurably(live, parked);
}

/// Takes away a live database that is not one of the `stored` combination.
bool ClearLive(const AccountStore& store, const settings::AccountCombination& stored)
{
    const std::string live = PackagePath(store.live);
    // A journal without its database would be rolled back into the next one of that name.
    if (!system::NameExists(live)) {
        return !HasJournal(live) || system::KeepAside(live, "is missing and left a journal");
    }

    const std::optional<settings::AccountCombination> owner = RecordedCombination(live);
    if (owner == stored) return true;
    if (!owner) return system::KeepAside(live, "is damaged or belongs to no account domain");
    return Park(store, *owner);
}

/// Brings back the parked database of the `stored` combination, if there is a usable one.
bool Unpark(const AccountStore& store, const settings::AccountCombination& stored)
{
    const std::string parked = ParkedPath(stored, store.parkedSuffix);
    if (!system::NameExists(parked)) return true;
    if (RecordedCombination(parked) == stored)
        return system::MoveDurably(parked, PackagePath(store.live));
    return system::KeepAside(parked, "is damaged or not what its name says");
}

bool HealStore(const AccountStore& store, const settings::AccountCombination& stored,
               bool& exchanged)
{
    const std::string live = PackagePath(store.live);
    if (CarriesStamp(live, stored) && !HasJournal(live)) return true;

    if (!ClearLive(store, stored)) return false;
    if (!system::NameExists(live)) {
        exchanged = true;
        if (!Unpark(store, stored)) return false;
        if (!system::NameExists(live) && !CreateAccountDatabase(live, store.schema, stored))
            return false;
    }
    if (!CarriesStamp(live, stored)) Stamp(live, store.schema, stored);
    return true;
}

/// The settings file as it is; an empty one when there is none yet.
std::optional<KeyValueFile> ReadSettings(const std::string& path)
{
    std::optional<KeyValueFile> settings = KeyValueFile::Read(path);
    if (!settings && errno == ENOENT) return KeyValueFile::Parse("");
    return settings;
}

bool StoreAlwaysBcc(const std::string& address, bool& exchanged)
{
    const std::string path = PackagePath("etc/mailvane.conf");
    std::optional<KeyValueFile> settings = ReadSettings(path);
    if (!settings) return false;
    if (settings->Get(kAlwaysBccKey).value_or("") == address) return true;

    exchanged = true;
    return settings->Set(kAlwaysBccKey, address) && settings->Write(path, 0600);
}

bool HealAlwaysBcc(const settings::AccountCombination& stored, bool& exchanged)
{
    const std::string path = ParkedPath(stored, kAlwaysBccSuffix);
    if (!system::NameExists(path)) return true;

    const std::optional<KeyValueFile> parked = KeyValueFile::Read(path);
    if (!parked || !StoreAlwaysBcc(parked->Get(kAlwaysBccKey).value_or(""), exchanged)) {
        Log(LOG_ERR, "cannot bring back %s from %s: %s", kAlwaysBccKey, path.c_str(), ErrnoText());
        return false;
    }
    return system::RemoveDurably(path);
}

bool HealAll(const settings::AccountCombination& stored, bool& exchanged)
{
    for (const AccountDatabase which : kDatabases) {
        if (!HealStore(StoreOf(which), stored, exchanged)) return false;
    }
    return HealAlwaysBcc(stored, exchanged);
}

}  // namespace

bool AccountDataIsSound(const settings::AccountCombination& stored)
{
    for (const AccountDatabase which : kDatabases) {
        const std::string live = PackagePath(StoreOf(which).live);
        if (!CarriesStamp(live, stored) || HasJournal(live)) return false;
    }
    return !CanBeParked(stored) || !system::NameExists(ParkedPath(stored, kAlwaysBccSuffix));
}

int HealAccountData(const settings::AccountCombination& stored, bool& exchanged)
{
    exchanged = false;
    if (!LockIsHeld()) {
        Log(LOG_ERR, "account data cannot be healed without the lock");
        return -1;
    }
    if (!CanBeParked(stored)) {
        Log(LOG_ERR, "the account domain %s cannot be part of a file name", stored.domain.c_str());
        return -1;
    }
    return system::WithoutExceptions("healing account data",
                                     [&] { return HealAll(stored, exchanged) ? 0 : -1; });
}

std::string ParkedAlwaysBcc(const settings::AccountCombination& combination)
{
    if (!CanBeParked(combination)) return "";
    const auto parked = KeyValueFile::Read(ParkedPath(combination, kAlwaysBccSuffix));
    return parked ? parked->Get(kAlwaysBccKey).value_or("") : "";
}

bool ParkAlwaysBcc(const settings::AccountCombination& combination, const std::string& address)
{
    KeyValueFile parked = KeyValueFile::Parse("");
    if (CanBeParked(combination) && MakeDirectories(ParkingFolder(), 0755) &&
        parked.Set(kAlwaysBccKey, address) &&
        parked.Write(ParkedPath(combination, kAlwaysBccSuffix), 0600)) {
        return true;
    }

    Log(LOG_ERR, "cannot park %s: %s", kAlwaysBccKey, ErrnoText());
    return false;
}

int ForgetParkedAlwaysBcc(const settings::AccountCombination& stored)
{
    if (!CanBeParked(stored)) return -1;
    return system::RemoveDurably(ParkedPath(stored, kAlwaysBccSuffix)) ? 0 : -1;
}

}  // namespace host::stores
