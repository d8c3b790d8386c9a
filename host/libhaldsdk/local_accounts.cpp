// Reads /etc/passwd, /etc/group and /etc/shadow.
#include "host/libhaldsdk/local_accounts.h"

#include <shadow.h>

#include <cstdio>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_records.h"

namespace host {

namespace {

struct CloseFile {
    void operator()(FILE* file) const { (void)fclose(file); }
};

/// Visits the records of one file, read by `get` (fgetpwent_r or one of its kind).
template <typename Record, typename Visit>
bool EachRecordOf(const char* path, int (*get)(FILE*, Record*, char*, std::size_t, Record**),
                  const Visit& visit)
{
    const std::unique_ptr<FILE, CloseFile> file(fopen(Path(path).c_str(), "re"));
    if (!file) return false;

    const auto next = [&](Record* record, char* bytes, std::size_t size, int* code) {
        Record* found = nullptr;
        *code = get(file.get(), record, bytes, size, &found);
        if (*code == 0) return found != nullptr ? NSS_STATUS_SUCCESS : NSS_STATUS_NOTFOUND;
        if (*code == ENOENT) return NSS_STATUS_NOTFOUND;
        return *code == ERANGE ? NSS_STATUS_TRYAGAIN : NSS_STATUS_UNAVAIL;
    };
    return EachRecord<Record>(next, visit);
}

/// Lines that begin so include accounts of another source; they are none themselves.
bool IsInclusion(const char* name)
{
    return *name == '+' || *name == '-';
}

Lookup Outcome(bool answered, bool found)
{
    if (found) return Lookup::kFound;
    return answered ? Lookup::kAbsent : Lookup::kFailed;
}

class LocalEngine : public AccountEngine {
public:
    bool EachUser(const UserVisitor& visit) override
    {
        return EachRecordOf<passwd>("/etc/passwd", fgetpwent_r, [&](const passwd& record) {
            if (!IsInclusion(record.pw_name)) visit(ToUser(record));
        });
    }

    bool EachGroup(const GroupVisitor& visit) override
    {
        return EachRecordOf<group>("/etc/group", fgetgrent_r, [&](const group& record) {
            if (!IsInclusion(record.gr_name)) visit(ToGroup(record));
        });
    }

    Lookup FindUser(const std::string& name, User& user) override
    {
        bool found = false;
        const bool answered = EachUser([&](const User& candidate) {
            if (found || candidate.name != name) return;
            user = candidate;
            found = true;
        });
        return Outcome(answered, found);
    }
};

}  // namespace

std::unique_ptr<AccountEngine> LocalAccounts()
{
    return std::make_unique<LocalEngine>();
}

Lookup FindLocalGroup(const std::string& name, Group& group)
{
    bool found = false;
    const bool answered = LocalAccounts()->EachGroup([&](const Group& candidate) {
        if (found || candidate.name != name) return;
        group = candidate;
        found = true;
    });
    return Outcome(answered, found);
}

Lookup FindLocalExpiry(const std::string& name, long& day)
{
    bool found = false;
    const bool answered = EachRecordOf<spwd>("/etc/shadow", fgetspent_r, [&](const spwd& record) {
        if (found || name != record.sp_namp) return;
        day = record.sp_expire;
        found = true;
    });
    return Outcome(answered, found);
}

}  // namespace host
