// Modules of the C library's name service (libnss_winbind, libnss_sss, libnss_ldap), called
// directly by the functions that the C library calls.
#include "host/libhaldsdk/name_service_module.h"

#include <dlfcn.h>

#include <cerrno>

#include "host/libhaldsdk/account_records.h"

namespace host {

namespace {

template <typename Record>
struct Enumeration {
    nss_status (*begin)(int) = nullptr;
    nss_status (*next)(Record*, char*, std::size_t, int*) = nullptr;
    nss_status (*end)() = nullptr;

    bool complete() const { return begin != nullptr && next != nullptr && end != nullptr; }
};

template <typename Record>
using Find = nss_status (*)(const char*, Record*, char*, std::size_t, int*);

/// Whether every record was visited; errno tells why not.
template <typename Record, typename Visit>
bool Enumerate(const Enumeration<Record>& calls, const Visit& visit)
{
    errno = 0;
    const nss_status begun = calls.begin(0);
    if (begun != NSS_STATUS_SUCCESS && begun != NSS_STATUS_NOTFOUND) {
        if (errno == 0) errno = EAGAIN;
        return false;
    }

    const bool answered = EachRecord<Record>(calls.next, visit);
    const int saved = errno;
    (void)calls.end();
    errno = saved;
    return answered;
}

/// Asks the module of a service for one record by its name.
template <typename Record, typename Convert>
auto Ask(const std::string& service, Find<Record> find, const std::string& name,
         const Convert& convert)
{
    const auto call = [&](Record* record, char* bytes, std::size_t size, int* code) {
        return find(name.c_str(), record, bytes, size, code);
    };
    return FindRecord<Record>(service, call, convert);
}

class ModuleEngine : public AccountEngine {
public:
    /// `library` stays loaded, since the C library may use it too.
    ModuleEngine(void* library, const std::string& service) : library_(library), service_(service)
    {
        Resolve("setpwent", users_.begin);
        Resolve("getpwent_r", users_.next);
        Resolve("endpwent", users_.end);
        Resolve("setgrent", groups_.begin);
        Resolve("getgrent_r", groups_.next);
        Resolve("endgrent", groups_.end);
        Resolve("getpwnam_r", findUser_);
        Resolve("getgrnam_r", findGroup_);
    }

    bool complete() const
    {
        return users_.complete() && groups_.complete() && findUser_ != nullptr &&
               findGroup_ != nullptr;
    }

    Result<void> EachUser(const UserVisitor& visit) override
    {
        if (Enumerate(users_, [&](const passwd& record) { visit(ToUser(record)); })) return {};
        return NoAnswerFrom(service_);
    }

    Result<void> EachGroup(const GroupVisitor& visit) override
    {
        if (Enumerate(groups_, [&](const group& record) { visit(ToGroup(record)); })) return {};
        return NoAnswerFrom(service_);
    }

    Result<std::optional<User>> FindUser(const std::string& name) override
    {
        return Ask(service_, findUser_, name, ToUser);
    }

    Result<std::optional<Group>> FindGroup(const std::string& name) override
    {
        return Ask(service_, findGroup_, name, ToGroup);
    }

private:
    template <typename Function>
    void Resolve(const char* name, Function& function)
    {
        function =
            reinterpret_cast<Function>(dlsym(library_, ("_nss_" + service_ + "_" + name).c_str()));
    }

    void* library_;
    std::string service_;
    Enumeration<passwd> users_;
    Enumeration<group> groups_;
    Find<passwd> findUser_ = nullptr;
    Find<group> findGroup_ = nullptr;
};

}  // namespace

Result<EnginePointer> NameServiceModule(const std::string& service)
{
    const std::string file = "libnss_" + service + ".so.2";
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) {
        auto engine = std::make_shared<ModuleEngine>(library, service);
        if (engine->complete()) return EnginePointer(std::move(engine));
    }
    return Reason{ReasonCode::kDamaged, Subject::Service(kAccountSource),
                  "the name service module " + file + " cannot be used"};
}

}  // namespace host
