// The two mail servers, Postfix and Dovecot. They listen on the ports in the settings, and reload a
// new configuration without a restart.
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
    /// Makes the server reload its configuration.
    virtual bool Reload(pid_t master) = 0;
    /// Whether the rest is up too, which its ports do not show.
    virtual bool IsSettled(const std::set<int>& listening) = 0;
    /// Whether the process uses the configuration in force and not another one.
    virtual bool HasOurConfiguration(pid_t master) const = 0;

private:
    /// Whether it listens on all ports in the settings, and greets.
    bool IsUpAt(pid_t master);
    bool HasTakenUp(const std::set<host::daemons::Inode>& had);
    bool Renew(pid_t master);
};

/// The supervisors of these two rows of the table.
std::unique_ptr<Supervisor> MakePostfix(const host::daemons::Daemon& daemon, const Stored& stored);
std::unique_ptr<Supervisor> MakeDovecot(const host::daemons::Daemon& daemon, const Stored& stored);

}  // namespace service
