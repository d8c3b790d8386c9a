// Account engines: the sources of accounts, that is local files and modules of the C library's name
// service.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host {

/// What all sources of accounts together are called.
constexpr char kAccountSource[] = "directory";

struct User {
    std::string name;
    std::string realName;
    uid_t uid = 0;
    gid_t gid = 0;
    std::string home;
    std::string shell;
};

struct Group {
    std::string name;
    gid_t gid = 0;
    std::vector<std::string> members;
};

using UserVisitor = std::function<void(const User&)>;
using GroupVisitor = std::function<void(const Group&)>;

/// An engine, asked without the others. The C library's enumeration is not used, since it reports
/// an engine that does not answer as one without accounts.
class AccountEngine {
public:
    AccountEngine() = default;
    AccountEngine(const AccountEngine&) = delete;
    AccountEngine& operator=(const AccountEngine&) = delete;
    virtual ~AccountEngine() = default;

    /// Calls `visit` for every user or group. Fails when the engine does not answer, possibly after
    /// some calls.
    virtual Result<void> EachUser(const UserVisitor& visit) = 0;
    virtual Result<void> EachGroup(const GroupVisitor& visit) = 0;

    /// The entry of a name; nothing when the engine has none. Fails when it does not answer.
    virtual Result<std::optional<User>> FindUser(const std::string& name) = 0;
    virtual Result<std::optional<Group>> FindGroup(const std::string& name) = 0;
};

using EnginePointer = std::shared_ptr<AccountEngine>;

/// The engine of /etc/passwd and /etc/group.
EnginePointer LocalAccounts();

/// The engine of a service in nsswitch.conf, for example "winbind"; the same one whenever it is
/// asked for. Fails when its module is not installed.
Result<EnginePointer> EngineOfService(const std::string& service);

/// The engine of local files, Windows domain or LDAP directory; `source` is a selector of
/// platform/hlib/accounts.h. Fails when nsswitch.conf has none.
Result<EnginePointer> EngineOf(int source);

/// Whether nsswitch.conf has a source, or it is the local files.
bool IsNamedSource(int source);

/// The engines in nsswitch.conf of domains and directories.
std::vector<Result<EnginePointer>> RemoteEngines();

/// Those of other services than these and the local files, such as systemd.
std::vector<Result<EnginePointer>> OtherEngines();

}  // namespace host
