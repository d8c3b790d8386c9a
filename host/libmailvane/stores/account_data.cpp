// The data kept per account combination. Reads and writes etc/alias.db, etc/mailvane.db, the key
// always_bcc of etc/mailvane.conf and target/etc/alias_bkp/ (the parked files).
//
// A switch to another combination parks each file in force, brings back the file parked under the
// new combination, and stores the new combination last. So an always_bcc address parked under the
// stored combination shows a switch that did not end; that address is the valid one.
#include "host/libmailvane/stores/account_data.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/stores/account_data_check.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/account_record.h"
#include "host/libmailvane/stores/parked_data.h"
#include "host/libmailvane/system/durable_move.h"

namespace fs = std::filesystem;

namespace host::stores {
namespace {

constexpr char kAlwaysBccKey[] = "always_bcc";
constexpr char kAlwaysBccSuffix[] = "_alwaysBCC";
constexpr AccountDatabase kDatabases[] = {AccountDatabase::kAlias, AccountDatabase::kMailvane};

std::string ParkedPath(const settings::AccountCombination& combination, const char* suffix)
{
    return ParkingFolder() + "/" + combination.type + "_" + combination.domain + suffix;
}

/// Whether type and domain are safe in a file name: no "/", ".." or control characters.
bool CanBeParked(const settings::AccountCombination& combination)
{
    const std::string name = combination.type + "_" + combination.domain;
    const bool plain = std::none_of(name.begin(), name.end(),
                                    [](char letter) { return letter == '/' || IsControl(letter); });
    return plain && name.find("..") == std::string::npos;
}

Reason UnsafeDomain(const settings::AccountCombination& combination)
{
    return {ReasonCode::kBadFormat, Subject::Setting("acc_domain_name"),
            "the account domain " + combination.domain + " cannot be part of a file name"};
}

/// Whether a database has a journal that is not empty.
bool HasJournal(const std::string& database)
{
    struct stat status {};
    return ::stat((database + "-journal").c_str(), &status) == 0 && status.st_size > 0;
}

/// Moves a database in force to the parked name of its combination; a file already there is set
/// aside.
Result<void> Park(const AccountStore& store, const settings::AccountCombination& owner)
{
    const std::string live = PackagePath(store.live);
    if (!CanBeParked(owner))
        return system::KeepAside(live, "belongs to an account domain with no safe name");

    const std::string parked = ParkedPath(owner, store.parkedSuffix);
    if (!MakeDirectories(ParkingFolder(), 0755)) {
        return SystemReason(ParkingFolder(), "cannot make " + ParkingFolder());
    }
    Result<void> free;
    if (system::NameExists(parked)) free = system::KeepAside(parked, "would be overwritten");
    return free ? system::MoveDurably(live, parked) : free;
}

/// Parks or sets aside a database in force that does not belong to the `stored` combination.
Result<void> ClearLive(const AccountStore& store, const settings::AccountCombination& stored)
{
    const std::string live = PackagePath(store.live);
    // A journal without its database is moved away: SQLite would apply it to the next file of that
    // name.
    if (!system::NameExists(live)) {
        if (!HasJournal(live)) return {};
        return system::KeepAside(live, "is missing and left a journal");
    }

    const Result<std::optional<settings::AccountCombination>> owner = RecordedCombination(live);
    if (!owner) return owner.reason();
    if (*owner == stored) return {};
    if (!*owner) return system::KeepAside(live, "is damaged or belongs to no account domain");
    return Park(store, **owner);
}

/// Brings back the database parked under the `stored` combination, if it is usable.
Result<void> Unpark(const AccountStore& store, const settings::AccountCombination& stored)
{
    const std::string parked = ParkedPath(stored, store.parkedSuffix);
    if (!system::NameExists(parked)) return {};
    const Result<std::optional<settings::AccountCombination>> owner = RecordedCombination(parked);
    if (!owner) return owner.reason();
    if (*owner == stored) return system::MoveDurably(parked, PackagePath(store.live));
    return system::KeepAside(parked, "is damaged or not what its name says");
}

/// Whether a database that is not there may be made.
enum class Missing { kIsLost, kIsEmpty };

/// Whether a file is a database of a combination. Looking at it settles what a killed writer left
/// beside it.
Result<bool> IsOf(const std::string& path, const settings::AccountCombination& combination)
{
    if (!system::NameExists(path)) return false;
    const Result<std::optional<settings::AccountCombination>> owner = RecordedCombination(path);
    if (!owner) return owner.reason();
    return *owner == combination;
}

Reason Lost(const std::string& live)
{
    if (!system::NameExists(live)) return {ReasonCode::kMissing, live, live + " is missing"};
    return {ReasonCode::kDamaged, live, live + " is damaged or belongs to no account domain"};
}

/// Whether both are the same but for the case of the domain.
bool IsSpelledOtherwise(const settings::AccountCombination& one,
                        const settings::AccountCombination& other)
{
    return one.type == other.type && InLowerCase(one.domain) == InLowerCase(other.domain) &&
           !(one == other);
}

/// What is parked with this suffix under other spellings of a combination.
std::vector<std::string> ParkedOtherwise(const settings::AccountCombination& combination,
                                         const char* suffix)
{
    const std::string exact = fs::path(ParkedPath(combination, suffix)).filename().string();
    const std::string type = combination.type + "_";
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(ParkingFolder(), error)) {
        const std::string name = entry.path().filename().string();
        if (name != exact && InLowerCase(name) == InLowerCase(exact) && name.rfind(type, 0) == 0) {
            found.push_back(entry.path().string());
        }
    }
    return found;
}

/// Whether a file is a database of a combination in another spelling.
Result<bool> IsOfOtherSpelling(const std::string& path,
                               const settings::AccountCombination& combination)
{
    if (!system::NameExists(path)) return false;
    const Result<std::optional<settings::AccountCombination>> owner = RecordedCombination(path);
    if (!owner) return owner.reason();
    return *owner && IsSpelledOtherwise(**owner, combination);
}

/// Makes the database of another spelling of the stored combination its own. Whether there was one.
Result<bool> Adopt(const AccountStore& store, const settings::AccountCombination& stored)
{
    const std::string live = PackagePath(store.live);
    std::vector<std::string> candidates = ParkedOtherwise(stored, store.parkedSuffix);
    candidates.insert(candidates.begin(), live);
    for (const std::string& path : candidates) {
        const Result<bool> isOurs = IsOfOtherSpelling(path, stored);
        if (!isOurs) return isOurs.reason();
        if (!*isOurs) continue;

        Result<void> done;
        if (path != live) done = ClearLive(store, stored);
        if (done && path != live) done = system::MoveDurably(path, live);
        if (done) done = RecordCombination(live, store.schema, stored);
        if (!done) return std::move(done).reason();
        return true;
    }
    return false;
}

/// The same of the copy address, which follows the databases.
Result<void> AdoptAlwaysBcc(const settings::AccountCombination& stored)
{
    const std::string exact = ParkedPath(stored, kAlwaysBccSuffix);
    if (system::NameExists(exact)) return {};
    for (const std::string& path : ParkedOtherwise(stored, kAlwaysBccSuffix)) {
        const std::string database = path.substr(0, path.size() - std::strlen(kAlwaysBccSuffix));
        if (!system::NameExists(database)) return system::MoveDurably(path, exact);
    }
    return {};
}

/// Exchanges a live database that is not one of the stored combination for the one that is.
Result<void> Exchange(const AccountStore& store, const settings::AccountCombination& stored,
                      Missing missing)
{
    const std::string live = PackagePath(store.live);
    const Result<bool> isParked = IsOf(ParkedPath(stored, store.parkedSuffix), stored);
    if (!isParked) return isParked.reason();
    if (!*isParked) {
        const Result<bool> adopted = Adopt(store, stored);
        if (!adopted) return adopted.reason();
        if (*adopted) return {};
    }
    if (missing == Missing::kIsLost && !*isParked) return Lost(live);

    Result<void> done = ClearLive(store, stored);
    if (done) done = Unpark(store, stored);
    if (!done || system::NameExists(live)) return done;
    return CreateAccountDatabase(live, store.schema, stored);
}

Result<void> HealStore(const AccountStore& store, const settings::AccountCombination& stored,
                       Missing missing)
{
    const std::string live = PackagePath(store.live);
    if (CarriesStamp(live, stored) && !HasJournal(live)) return {};

    const Result<bool> isOurs = IsOf(live, stored);
    if (!isOurs) return isOurs.reason();
    Result<void> done;
    if (!*isOurs) done = Exchange(store, stored, missing);
    return done && !CarriesStamp(live, stored) ? Stamp(live, store.schema, stored) : done;
}

Result<void> HealDatabases(const settings::AccountCombination& stored, Missing missing)
{
    for (const AccountDatabase which : kDatabases) {
        Result<void> healed = HealStore(StoreOf(which), stored, missing);
        if (!healed) return healed;
    }
    return {};
}

/// The database that comes in force with a combination; empty when there is none.
Result<std::string> FileOf(const AccountStore& store, const settings::AccountCombination& wanted)
{
    const std::string live = PackagePath(store.live);
    for (const std::string& path : {live, ParkedPath(wanted, store.parkedSuffix)}) {
        const Result<bool> isOurs = IsOf(path, wanted);
        if (!isOurs) return isOurs.reason();
        if (*isOurs) return path;
    }
    std::vector<std::string> others = ParkedOtherwise(wanted, store.parkedSuffix);
    others.insert(others.begin(), live);
    for (const std::string& path : others) {
        const Result<bool> isOurs = IsOfOtherSpelling(path, wanted);
        if (!isOurs) return isOurs.reason();
        if (*isOurs) return path;
    }
    return std::string();
}

/// Makes a copy of that database in a folder.
Result<void> CopyStore(const AccountStore& store, const settings::AccountCombination& wanted,
                       const std::string& folder)
{
    const Result<std::string> source = FileOf(store, wanted);
    if (!source) return source.reason();
    const std::string copy = folder + "/" + fs::path(store.live).filename().string();
    if (source->empty()) {
        Result<void> made = CreateAccountDatabase(copy, store.schema, wanted);
        return made ? Stamp(copy, store.schema, wanted) : made;
    }
    fs::copy_file(*source, copy);
    return CarriesStamp(copy, wanted) ? Result<void>()
                                      : RecordCombination(copy, store.schema, wanted);
}

/// Reads the settings file; empty when there is none.
std::optional<KeyValueFile> ReadSettings(const std::string& path)
{
    std::optional<KeyValueFile> settings = KeyValueFile::Read(path);
    if (!settings && errno == ENOENT) return KeyValueFile::Parse("");
    return settings;
}

bool StoreAlwaysBcc(const std::string& address)
{
    const std::string path = PackagePath("etc/mailvane.conf");
    std::optional<KeyValueFile> settings = ReadSettings(path);
    if (!settings) return false;
    if (settings->Get(kAlwaysBccKey).value_or("") == address) return true;

    return settings->Set(kAlwaysBccKey, address) && settings->Write(path, 0600);
}

Result<void> HealAlwaysBcc(const settings::AccountCombination& stored)
{
    const std::string path = ParkedPath(stored, kAlwaysBccSuffix);
    if (!system::NameExists(path)) return {};

    const std::optional<KeyValueFile> parked = KeyValueFile::Read(path);
    if (!parked || !StoreAlwaysBcc(parked->Get(kAlwaysBccKey).value_or(""))) {
        return SystemReason(path,
                            std::string("cannot bring back ") + kAlwaysBccKey + " from " + path);
    }
    return system::RemoveDurably(path);
}

/// Runs an operation on the data of a combination, which has to be one that can be parked.
template <typename Operation>
Result<void> WithCombination(const settings::AccountCombination& combination, Operation operation)
{
    if (!LockIsHeld()) {
        return Reason{ReasonCode::kBusy, "request lock",
                      "account data cannot be healed without the lock"};
    }
    if (!CanBeParked(combination)) return UnsafeDomain(combination);
    return system::Attempt("healing account data", operation);
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

Result<void> HealAccountData(const settings::AccountCombination& stored)
{
    return WithCombination(stored, [&stored] {
        Result<void> healed = HealDatabases(stored, Missing::kIsLost);
        Result<void> address = AdoptAlwaysBcc(stored);
        if (address) address = HealAlwaysBcc(stored);
        return healed ? address : healed;
    });
}

Result<void> SwitchDatabases(const settings::AccountCombination& wanted)
{
    return WithCombination(wanted, [&wanted] {
        Result<void> made = HealDatabases(wanted, Missing::kIsEmpty);
        return made ? AdoptAlwaysBcc(wanted) : made;
    });
}

Result<void> BringBack(const std::string& folder, const settings::AccountCombination& stored)
{
    return WithCombination(stored, [&]() -> Result<void> {
        for (const AccountDatabase which : kDatabases) {
            const AccountStore& store = StoreOf(which);
            const std::string live = PackagePath(store.live);
            const std::string source = folder + "/" + fs::path(live).filename().string();
            const Result<bool> isOurs = IsOf(live, stored);
            if (!isOurs) return isOurs.reason();
            if (*isOurs) continue;

            Result<void> done = CheckAccountDatabase(which, source);
            const Result<bool> fits = done ? IsOf(source, stored) : done.reason();
            if (!fits) return fits.reason();
            if (!*fits) return Lost(source);
            done = ClearLive(store, stored);
            if (done) done = system::MoveDurably(source, live);
            if (!done) return done;
        }
        return {};
    });
}

Result<void> CopyDatabases(const settings::AccountCombination& wanted, const std::string& folder)
{
    return WithCombination(wanted, [&]() -> Result<void> {
        for (const AccountDatabase which : kDatabases) {
            Result<void> copied = CopyStore(StoreOf(which), wanted, folder);
            if (!copied) return copied;
        }
        return {};
    });
}

Result<void> CheckAccountData(const settings::AccountCombination& stored)
{
    for (const AccountDatabase which : kDatabases) {
        const std::string live = PackagePath(StoreOf(which).live);
        const Result<bool> isOurs = IsOf(live, stored);
        if (!isOurs) return isOurs.reason();
        if (!*isOurs) return Lost(live);
    }
    return {};
}

std::optional<std::string> ParkedAlwaysBcc(const settings::AccountCombination& combination)
{
    if (!CanBeParked(combination)) return std::nullopt;
    const auto parked = KeyValueFile::Read(ParkedPath(combination, kAlwaysBccSuffix));
    if (!parked) return std::nullopt;
    return parked->Get(kAlwaysBccKey).value_or("");
}

Result<void> ParkAlwaysBcc(const settings::AccountCombination& combination,
                           const std::string& address)
{
    KeyValueFile parked = KeyValueFile::Parse("");
    if (!CanBeParked(combination)) return UnsafeDomain(combination);
    if (MakeDirectories(ParkingFolder(), 0755) && parked.Set(kAlwaysBccKey, address) &&
        parked.Write(ParkedPath(combination, kAlwaysBccSuffix), 0600)) {
        return {};
    }
    return SystemReason(kAlwaysBccKey, std::string("cannot park ") + kAlwaysBccKey);
}

Result<void> ForgetParkedAlwaysBcc(const settings::AccountCombination& stored)
{
    if (!CanBeParked(stored)) return UnsafeDomain(stored);
    return system::RemoveDurably(ParkedPath(stored, kAlwaysBccSuffix));
}

}  // namespace host::stores
