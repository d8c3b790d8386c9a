// The engines that know accounts: the machine's own files and the modules of its name service.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

struct User {
    std::string name;
    std::string realName;
    uid_t uid = 0;
    gid_t gid = 0;
};

struct Group {
    std::string name;
    gid_t gid = 0;
    std::vector<std::string> members;
};

enum class Lookup {
    kFound,
    kAbsent,  ///< the engine says that there is no such entry
    kFailed   ///< the engine does not answer; errno says why
};

using UserVisitor = std::function<void(const User&)>;
using GroupVisitor = std::function<void(const Group&)>;

/// One engine, asked alone. glibc's own enumeration cannot serve for that: it reports an engine
/// that is down as one without accounts.
class AccountEngine {
public:
    AccountEngine() = default;
    AccountEngine(const AccountEngine&) = delete;
    AccountEngine& operator=(const AccountEngine&) = delete;
    virtual ~AccountEngine() = default;

    /// Hands every user, or group, to `visit`. False, with errno set, when the engine does not
    /// answer; some may have been visited then.
    virtual bool EachUser(const UserVisitor& visit) = 0;
    virtual bool EachGroup(const GroupVisitor& visit) = 0;

    virtual Lookup FindUser(const std::string& name, User& user) = 0;
    virtual Lookup FindGroup(const std::string& name, Group& group) = 0;
};

/// The engine of /etc/passwd and /etc/group.
std::unique_ptr<AccountEngine> LocalAccounts();

/// The engine behind a service of nsswitch.conf, for example "winbind". Null, with errno set and
/// the reason logged, when the machine has no such module.
std::unique_ptr<AccountEngine> NameServiceModule(const std::string& service);

/// The engine of the local files, the Windows domain or the LDAP directory, by the selector of
/// platform/hlib/accounts.h. Null, with errno set, when nsswitch.conf does not name one.
std::unique_ptr<AccountEngine> EngineOf(int source);

/// The engines of nsswitch.conf that are not the machine's own.
std::vector<std::unique_ptr<AccountEngine>> RemoteEngines();

}  // namespace host
