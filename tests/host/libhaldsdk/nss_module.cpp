// A stand-in for a name service module: a few users with long records, no groups, and an
// engine that can be down. SERVICE is the name of the service.
#include <grp.h>
#include <nss.h>
#include <pwd.h>

#include <cerrno>
#include <cstring>

#define JOIN(a, b, c) a##b##c
#define NAME(service, call) JOIN(_nss_, service, call)
#define CALL(call) extern "C" nss_status NAME(SERVICE, _##call)
#define GIVES(call, arguments, result) \
    CALL(call) arguments               \
    {                                  \
        return result;                 \
    }

namespace {

struct Entry {
    const char* name;
    unsigned id;
};

constexpr Entry kUsers[] = {
    {"EXAMPLE\\anna", 20001}, {"OTHER\\bert", 20002}, {"carol", 20003}, {"system", 33}};
constexpr Entry kUntold = {"quentin", 20004};  // found by name alone
constexpr std::size_t kRoom = 9000;            // more than a caller offers at first

std::size_t nextUser = 0;
char empty[] = "";

}  // namespace

/// 0: the engine answers; 1: it is down; 2: it goes down in the middle.
extern "C" int engineState;
int engineState = 0;

/// How often it was asked for a user by name.
extern "C" int timesAsked;
int timesAsked = 0;

namespace {

nss_status Begin()
{
    nextUser = 0;
    return engineState == 1 ? NSS_STATUS_UNAVAIL : NSS_STATUS_SUCCESS;
}

/// Whether a record can be given now; else what to answer.
nss_status Ready(std::size_t size, int* code)
{
    *code = engineState == 1 ? ECONNREFUSED : ERANGE;
    if (engineState == 1) return NSS_STATUS_UNAVAIL;
    return size < kRoom ? NSS_STATUS_TRYAGAIN : NSS_STATUS_SUCCESS;
}

void Fill(const Entry& entry, passwd* record, char* buffer)
{
    *record = {};
    record->pw_name = strcpy(buffer, entry.name);
    record->pw_gecos = record->pw_dir = record->pw_shell = record->pw_passwd = empty;
    record->pw_uid = record->pw_gid = entry.id;
}

}  // namespace

GIVES(setpwent, (int /*stay*/), Begin())
GIVES(setgrent, (int /*stay*/), Begin())
GIVES(endpwent, (), NSS_STATUS_SUCCESS)
GIVES(endgrent, (), NSS_STATUS_SUCCESS)
GIVES(getgrent_r, (group*, char*, std::size_t, int*), NSS_STATUS_NOTFOUND)

CALL(getpwent_r)(passwd* record, char* buffer, std::size_t size, int* code)
{
    if (engineState == 2 && nextUser == 2) return NSS_STATUS_UNAVAIL;
    if (nextUser == sizeof kUsers / sizeof kUsers[0]) return NSS_STATUS_NOTFOUND;
    const nss_status ready = Ready(size, code);
    if (ready == NSS_STATUS_SUCCESS) Fill(kUsers[nextUser++], record, buffer);
    return ready;
}

CALL(getpwnam_r)(const char* name, passwd* record, char* buffer, std::size_t size, int* code)
{
    const nss_status ready = Ready(size, code);
    if (ready != NSS_STATUS_SUCCESS) return ready;
    ++timesAsked;
    const Entry* entry = strcmp(kUntold.name, name) == 0 ? &kUntold : nullptr;
    for (const Entry& told : kUsers) {
        if (strcmp(told.name, name) == 0) entry = &told;
    }
    if (entry == nullptr) return NSS_STATUS_NOTFOUND;
    Fill(*entry, record, buffer);
    return NSS_STATUS_SUCCESS;
}

CALL(getgrnam_r)
(const char* /*name*/, group* /*record*/, char* /*buffer*/, std::size_t size, int* code)
{
    const nss_status ready = Ready(size, code);
    return ready == NSS_STATUS_SUCCESS ? NSS_STATUS_NOTFOUND : ready;
}
