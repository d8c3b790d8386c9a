// Supervisors of the DKIM and the DMARC filter. A changed configuration takes a start, and a filter
// that is away makes mail wait. So another process, the stand-in, is called while the filter is
// started anew: the path that the mail server calls is a link to the socket of one of the two.
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/sockets.h"
#include "tools/hald_service/own_daemons.h"

namespace service {

namespace {

using host::daemons::Daemon;

class Filter : public InnerDaemon {
public:
    using InnerDaemon::InnerDaemon;

    bool BringUp() override
    {
        const bool isCalled = host::daemons::LinkTarget(host::Path(CalledPath())) == Socket();
        if (isCalled && IsUpToDate()) return true;
        if (StandIn() == 0 && !(isCalled && IsUp() && StartStandIn())) return StartAfresh();
        return ChangeOver();
    }

    bool TakeDown() override
    {
        const bool isDown = InnerDaemon::TakeDown();
        return EndStandIn() && isDown;
    }

protected:
    std::string Socket() const override { return CalledPath() + ".own"; }

    bool PrepareMore() override { return StandIn() != 0 || Lead(CalledPath(), Socket()); }

    Command StartCommand() const override { return CommandAt(Socket(), ""); }

private:
    std::string CalledPath() const { return std::string(Row().socket); }
    std::string StandInSocket() const { return CalledPath() + ".other"; }
    std::string StandInFile() const { return std::string(Row().pidFile) + ".other"; }

    Command CommandAt(const std::string& socket, const std::string& pidFile) const
    {
        Command command = InnerDaemon::StartCommand();
        command.words.insert(command.words.end(), {"-p", "local:" + socket});
        if (!pidFile.empty()) command.words.insert(command.words.end(), {"-P", pidFile});
        return command;
    }

    /// The id of the stand-in's process; 0 when there is none.
    pid_t StandIn() const
    {
        const std::string process =
            host::daemons::DaemonProcess(StandInFile(), std::string(Row().program));
        if (process.empty()) return 0;
        return static_cast<pid_t>(std::atoi(process.c_str() + process.rfind('/') + 1));
    }

    /// Starts the stand-in with the configuration in force, and has it called.
    bool StartStandIn()
    {
        const auto isUp = [this] {
            return StandIn() != 0 && host::daemons::ListensAt(StandInSocket()) ? Progress::kDone
                                                                               : Progress::kNotYet;
        };
        if (Prepare() && MakePidFile(Row(), StandInFile()) &&
            RunQuietly(Row().service, CommandAt(StandInSocket(), StandInFile()), limits.reload) &&
            WaitFor(limits.reload, isUp) && Lead(CalledPath(), StandInSocket())) {
            return true;
        }
        (void)EndStandIn();
        return Fail("has no stand-in");
    }

    /// Starts the filter anew while the stand-in is called. Without a filter the stand-in stays.
    bool ChangeOver()
    {
        if (!InnerDaemon::TakeDown() || !StartAfresh()) return false;
        return (Lead(CalledPath(), Socket()) || Fail("cannot be called")) && EndStandIn();
    }

    bool EndStandIn()
    {
        if (const pid_t process = StandIn(); process != 0) {
            const ProcessSet all = ProcessSet::Of(process);
            AwaitTheLastCalls(StandInSocket());
            (void)kill(process, SIGTERM);
            const auto gone = [&] {
                KnockAt(StandInSocket());
                return all.AreGone() ? Progress::kDone : Progress::kNotYet;
            };
            if (!WaitFor(limits.stop, gone)) all.Signal(SIGKILL);
            if (!WaitFor(limits.kill, gone)) return Fail("has a stand-in that does not end");
        }
        (void)unlink(host::Path(StandInFile()).c_str());
        return true;
    }
};

/// The DKIM filter gets a copy of the private key, since it cannot enter the folder of the keys.
class DkimFilter : public Filter {
public:
    using Filter::Filter;

protected:
    bool PrepareMore() override
    {
        const std::string own = "/var/packages/Mailvane/etc/dkim.signer";
        if (!Filter::PrepareMore() || !MakeFolder(own, 0750, "root", std::string(Row().user))) {
            return false;
        }
        std::string key;
        std::string copy;
        if (!host::ReadFile(Key(), key)) return errno == ENOENT;
        const std::string path = host::Path(own + "/dkim.private");
        if (host::ReadFile(path, copy) && copy == key) return true;
        return host::ReplaceFile(path, key, 0600) && Give(path);
    }

    std::vector<std::string> MoreFiles() const override
    {
        if (access(Key().c_str(), R_OK) < 0) return {};
        return {Key()};
    }

private:
    static std::string Key() { return host::PackagePath("etc/dkim.key/dkim.private"); }

    bool Give(const std::string& path) const
    {
        const passwd* const user = getpwnam(std::string(Row().user).c_str());
        return user != nullptr && lchown(path.c_str(), user->pw_uid, user->pw_gid) == 0;
    }
};

}  // namespace

std::unique_ptr<Supervisor> MakeDkimFilter(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<DkimFilter>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeDmarcFilter(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Filter>(daemon, stored);
}

}  // namespace service
