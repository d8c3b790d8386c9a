// The local account files: reads /etc/passwd, /etc/group and /etc/shadow.
#include "host/libhaldsdk/local_accounts.h"

#include <shadow.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_records.h"
#include "host/libhaldsdk/file_version.h"

namespace host {

namespace {

struct CloseFile {
    void operator()(FILE* file) const { (void)fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

struct Expiry {
    std::string name;
    long day;
};

Expiry ToExpiry(const spwd& record)
{
    return {record.sp_namp, record.sp_expire};
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
        const FileVersion::Look look = version_.LookAt(Path(path_));
        if (look == FileVersion::Look::kSame) return {};
        if (look == FileVersion::Look::kMissing) return CannotRead();

        entries_.clear();
        byName_.clear();
        ++timesRead_;
        if (ReadAll()) return {};
        Reason reason = CannotRead();
        version_.Forget();
        return reason;
    }

    const std::vector<Entry>& entries() const { return entries_; }

    int timesRead() const { return timesRead_; }

    /// Null when there is none of this name. It stays until the next call.
    Result<const Entry*> Find(const std::string& name)
    {
        Result<void> fresh = Refresh();
        if (!fresh) return std::move(fresh).reason();
        if (byName_.empty()) IndexNames();
        const auto found = byName_.find(name);
        return found == byName_.end() ? nullptr : found->second;
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
        if (!IsInclusion(entry.name)) entries_.push_back(std::move(entry));
    }

    void IndexNames()
    {
        byName_.reserve(entries_.size());
        for (const Entry& entry : entries_) byName_.emplace(entry.name, &entry);
    }

    const char* path_;
    Get get_;
    Convert convert_;
    FileVersion version_;
    int timesRead_ = 0;
    std::vector<Entry> entries_;
    std::unordered_map<std::string_view, const Entry*> byName_;  ///< first ones; once it is needed
};

// Never freed one by one: they last as long as the program.
KeptFile<passwd, User>& Users()
{
    static auto& file = *new KeptFile<passwd, User>("/etc/passwd", fgetpwent_r, ToUser);
    return file;
}

KeptFile<group, Group>& Groups()
{
    static auto& file = *new KeptFile<group, Group>("/etc/group", fgetgrent_r, ToGroup);
    return file;
}

KeptFile<spwd, Expiry>& Expiries()
{
    static auto& file = *new KeptFile<spwd, Expiry>("/etc/shadow", fgetspent_r, ToExpiry);
    return file;
}

/// The users by primary group, those of a group in the order of the file.
class UsersOfGroups {
public:
    void Each(gid_t group, const UserVisitor& visit)
    {
        if (timesRead_ != Users().timesRead()) Sort();
        const auto before = [](const User* user, gid_t wanted) { return user->gid < wanted; };
        auto user = std::lower_bound(users_.begin(), users_.end(), group, before);
        for (; user != users_.end() && (*user)->gid == group; ++user) visit(**user);
    }

private:
    void Sort()
    {
        users_.clear();
        users_.reserve(Users().entries().size());
        for (const User& user : Users().entries()) users_.push_back(&user);
        std::stable_sort(users_.begin(), users_.end(),
                         [](const User* one, const User* other) { return one->gid < other->gid; });
        timesRead_ = Users().timesRead();
    }

    int timesRead_ = 0;  ///< of the file, by the time it was sorted
    std::vector<const User*> users_;
};

template <typename Entry>
Result<std::optional<Entry>> Copy(Result<const Entry*> found)
{
    if (!found) return std::move(found).reason();
    return *found != nullptr ? std::make_optional(**found) : std::nullopt;
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
        return Copy(Users().Find(name));
    }

    Result<std::optional<Group>> FindGroup(const std::string& name) override
    {
        return Copy(Groups().Find(name));
    }
};

}  // namespace

EnginePointer LocalAccounts()
{
    static const auto engine = std::make_shared<LocalEngine>();
    return engine;
}

Result<const User*> FindLocalUser(const std::string& name)
{
    return Users().Find(name);
}

Result<const Group*> FindLocalGroup(const std::string& name)
{
    return Groups().Find(name);
}

Result<std::optional<long>> FindLocalExpiry(const std::string& name)
{
    const Result<const Expiry*> expiry = Expiries().Find(name);
    if (!expiry) return expiry.reason();
    return *expiry != nullptr ? std::make_optional((*expiry)->day) : std::nullopt;
}

Result<void> EachLocalUserOf(gid_t group, const UserVisitor& visit)
{
    Result<void> fresh = Users().Refresh();
    if (!fresh) return fresh;
    static UsersOfGroups users;
    users.Each(group, visit);
    return {};
}

}  // namespace host
