// The local account files: reads /etc/passwd, /etc/group and /etc/shadow.
#include "host/libhaldsdk/local_accounts.h"

#include <shadow.h>
#include <sys/stat.h>

#include <cstdio>
#include <unordered_map>
#include <utility>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_records.h"

namespace host {

namespace {

struct CloseFile {
    void operator()(FILE* file) const { (void)fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

/// Identifies the file and the version of it that was read.
struct Stamp {
    std::string path;
    dev_t device = 0;
    ino_t number = 0;
    off_t size = -1;
    timespec changed = {};

    bool operator==(const Stamp& other) const
    {
        return path == other.path && device == other.device && number == other.number &&
               size == other.size && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

/// False, with errno set, when there is no such file.
bool StampOf(const std::string& path, Stamp& stamp)
{
    struct stat info {};
    if (stat(path.c_str(), &info) < 0) return false;
    stamp = {path, info.st_dev, info.st_ino, info.st_size, info.st_mtim};
    return true;
}

struct Expiry {
    std::string name;
    long day;
};

Expiry ToExpiry(const spwd& record)
{
    return {record.sp_namp, record.sp_expire};
}

gid_t GroupOf(const User& user)
{
    return user.gid;
}

gid_t GroupOf(const Group& group)
{
    return group.gid;
}

gid_t GroupOf(const Expiry& /*expiry*/)
{
    return 0;
}

/// Whether a record is skipped: it is empty, or includes accounts of another source, as "+@staff"
/// does.
bool IsInclusion(const std::string& name)
{
    return name.empty() || name.front() == '+' || name.front() == '-';
}

/// The records of one file, kept in memory. `get` is fgetpwent_r, fgetgrent_r or fgetspent_r.
template <typename Record, typename Entry>
class KeptFile {
public:
    using Get = int (*)(FILE*, Record*, char*, std::size_t, Record**);
    using Convert = Entry (*)(const Record&);

    KeptFile(const char* path, Get get, Convert convert) : path_(path), get_(get), convert_(convert)
    {
    }

    /// Reads the file again if it has changed.
    Result<void> Refresh()
    {
        Stamp stamp;
        if (!StampOf(Path(path_), stamp)) return CannotRead();
        if (stamp == stamp_) return {};

        stamp_ = Stamp();
        entries_.clear();
        byName_.clear();
        byGroup_.clear();
        if (!ReadAll()) return CannotRead();
        stamp_ = stamp;
        return {};
    }

    const std::vector<Entry>& entries() const { return entries_; }

    /// Calls `visit` for the entries of a group, in the order of the file.
    template <typename Visit>
    void EachOf(gid_t group, const Visit& visit) const
    {
        const auto found = byGroup_.find(group);
        if (found == byGroup_.end()) return;
        for (const std::size_t index : found->second) visit(entries_[index]);
    }

    Result<std::optional<Entry>> FindEntry(const std::string& name)
    {
        Result<void> fresh = Refresh();
        if (!fresh) return std::move(fresh).reason();
        const auto found = byName_.find(name);
        if (found == byName_.end()) return {std::nullopt};
        return std::make_optional(entries_[found->second]);
    }

private:
    Reason CannotRead() const
    {
        return SystemReason(Subject::Service(kAccountSource), std::string("cannot read ") + path_);
    }

    /// False, with errno set, on failure.
    bool ReadAll()
    {
        const File file(fopen(Path(path_).c_str(), "re"));
        if (!file) return false;

        const auto next = [&](Record* record, char* bytes, std::size_t size, int* code) {
            Record* found = nullptr;
            *code = get_(file.get(), record, bytes, size, &found);
            if (*code == 0) return found != nullptr ? NSS_STATUS_SUCCESS : NSS_STATUS_NOTFOUND;
            if (*code == ENOENT) return NSS_STATUS_NOTFOUND;
            return *code == ERANGE ? NSS_STATUS_TRYAGAIN : NSS_STATUS_UNAVAIL;
        };
        return EachRecord<Record>(next, [this](const Record& record) { Keep(convert_(record)); });
    }

    void Keep(Entry entry)
    {
        if (IsInclusion(entry.name)) return;
        byName_.emplace(entry.name, entries_.size());
        byGroup_[GroupOf(entry)].push_back(entries_.size());
        entries_.push_back(std::move(entry));
    }

    const char* path_;
    Get get_;
    Convert convert_;
    Stamp stamp_;
    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::size_t> byName_;  ///< the first entry of a name
    std::unordered_map<gid_t, std::vector<std::size_t>> byGroup_;
};

KeptFile<passwd, User>& Users()
{
    static KeptFile<passwd, User> file("/etc/passwd", fgetpwent_r, ToUser);
    return file;
}

KeptFile<group, Group>& Groups()
{
    static KeptFile<group, Group> file("/etc/group", fgetgrent_r, ToGroup);
    return file;
}

KeptFile<spwd, Expiry>& Expiries()
{
    static KeptFile<spwd, Expiry> file("/etc/shadow", fgetspent_r, ToExpiry);
    return file;
}

class LocalEngine : public AccountEngine {
public:
    Result<void> EachUser(const UserVisitor& visit) override
    {
        Result<void> fresh = Users().Refresh();
        if (!fresh) return fresh;
        for (const User& user : Users().entries()) visit(user);
        return {};
    }

    Result<void> EachGroup(const GroupVisitor& visit) override
    {
        Result<void> fresh = Groups().Refresh();
        if (!fresh) return fresh;
        for (const Group& group : Groups().entries()) visit(group);
        return {};
    }

    Result<std::optional<User>> FindUser(const std::string& name) override
    {
        return Users().FindEntry(name);
    }

    Result<std::optional<Group>> FindGroup(const std::string& name) override
    {
        return FindLocalGroup(name);
    }
};

}  // namespace

std::unique_ptr<AccountEngine> LocalAccounts()
{
    return std::make_unique<LocalEngine>();
}

Result<std::optional<Group>> FindLocalGroup(const std::string& name)
{
    return Groups().FindEntry(name);
}

Result<std::optional<long>> FindLocalExpiry(const std::string& name)
{
    Result<std::optional<Expiry>> expiry = Expiries().FindEntry(name);
    if (!expiry) return std::move(expiry).reason();
    return *expiry ? std::make_optional((*expiry)->day) : std::nullopt;
}

Result<void> EachLocalUserOf(gid_t group, const UserVisitor& visit)
{
    Result<void> fresh = Users().Refresh();
    if (fresh) Users().EachOf(group, visit);
    return fresh;
}

}  // namespace host
