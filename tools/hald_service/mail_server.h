// The two servers of mail, Postfix and Dovecot: they listen at the ports that the settings say, and
// take up a new configuration while they run.
#pragma once

#include <set>

#include "host/libmailvane/daemons/sockets.h"
#include "tools/hald_service/supervisor.h"

namespace service {

class MailServer : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override;
    bool IsUp() override;

protected:
    /// Makes it take up its configuration.
    virtual bool Reload(pid_t master) = 0;
    /// Whether what its ports do not show is up too.
    virtual bool IsSettled(const std::set<int>& listening) = 0;
    /// Whether the process has read the configuration in force, and not another one.
    virtual bool HasOurConfiguration(pid_t master) const = 0;

private:
    /// Whether it listens wherever the settings ask and greets.
    bool IsUpAt(pid_t master);
    bool HasTakenUp(const std::set<host::daemons::Inode>& had);
    bool Renew(pid_t master);
};

/// The rows of the table.
std::unique_ptr<Supervisor> MakePostfix(const host::daemons::Daemon& daemon, const Stored& stored);
std::unique_ptr<Supervisor> MakeDovecot(const host::daemons::Daemon& daemon, const Stored& stored);

}  // namespace service
