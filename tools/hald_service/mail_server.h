// The two mail servers, Postfix and Dovecot. They listen on the ports in the settings, and reload a
// new configuration without a restart. One that runs with what is in force is left alone.
#pragma once

#include <set>

#include "host/libmailvane/daemons/sockets.h"
#include "tools/hald_service/start_note.h"
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
    /// The files in which its configuration begins, in the generation in force.
    virtual std::vector<std::string> Configuration() const = 0;
    /// Called when it has taken up a configuration.
    virtual void Renewed() {}

private:
    StartNote Now() const;
    /// Whether it listens on all ports in the settings; `called` gets the sockets of those that
    /// greet.
    bool ListensAsAsked(pid_t master, std::vector<host::daemons::Listener>& called);
    /// The same, and greets.
    bool IsUpAt(pid_t master);
    bool TakeUp(pid_t master, bool needsAStart);
    bool HasTakenUp(const std::set<host::daemons::Inode>& had);
    bool Renew(pid_t master);
};

/// The supervisors of these two rows of the table.
std::unique_ptr<Supervisor> MakePostfix(const host::daemons::Daemon& daemon, const Stored& stored);
std::unique_ptr<Supervisor> MakeDovecot(const host::daemons::Daemon& daemon, const Stored& stored);

}  // namespace service
