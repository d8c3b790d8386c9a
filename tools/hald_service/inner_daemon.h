// A daemon behind a unix socket. It gets a new configuration by a restart, or by a reload where it
// can. It is left alone when its command, settings and files are those of its last start.
#pragma once

#include <optional>

#include "tools/hald_service/start_note.h"
#include "tools/hald_service/supervisor.h"

namespace service {

class InnerDaemon : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override;
    bool IsUp() override;
    /// The same for a filter of the mail server, which has ceased to call it: what is under way
    /// ends first.
    bool TakeDown() override;

protected:
    bool Prepare() override;
    bool Finish() override;
    void Knock() override;
    bool AreOurs(const ProcessSet& orphans) const override;

    /// The socket at which the daemon listens.
    virtual std::string Socket() const { return std::string(Row().socket); }
    /// Prepares what else the daemon needs; its folder exists by then.
    virtual bool PrepareMore() { return true; }
    /// Files that it reads besides those in the generation.
    virtual std::vector<std::string> MoreFiles() const { return {}; }
    /// Whether it answers correctly at its socket.
    virtual bool Answers() { return true; }

    /// Whether it is up and was started with the present command, settings and files.
    bool IsUpToDate();

    /// Waits a while until nobody is connected to the socket.
    void AwaitTheLastCalls(const std::string& socket);

private:
    bool Reload(int signal);
    StartNote Now() const { return {Row(), Settings(), MoreFiles()}; }

    std::optional<StartNote> started_;
};

/// Creates an empty pid file that belongs to the daemon's user, who writes the number; an existing
/// one is kept.
bool MakePidFile(const host::daemons::Daemon& daemon, const std::string& path);

/// Connects to a unix socket and hangs up. A filter that is stopping notices that at a connection,
/// else only every five seconds.
void KnockAt(const std::string& socket);

/// Sends a text to the server at a unix socket and returns its answer, up to `size` bytes; fewer
/// when it takes longer than five seconds.
std::string Ask(const std::string& socket, const std::string& text, std::size_t size);

/// Makes `name` a link to `file`; both are paths on the machine.
bool Lead(const std::string& name, const std::string& file);

}  // namespace service
