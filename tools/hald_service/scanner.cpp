// Supervisors of the scanner and its milter, which need more than other daemons behind sockets.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "tools/hald_service/own_daemons.h"

namespace service {

namespace {

using host::daemons::Daemon;

/// The scanner: a Perl program that loads all rules before it listens and changes to its own user.
class Scanner : public InnerDaemon {
public:
    Scanner(const Daemon& daemon, const Stored& stored) : InnerDaemon(daemon, stored)
    {
        limits.start = std::chrono::seconds(60);
        limits.reload = std::chrono::seconds(40);  // it ends what it is at before
    }

protected:
    /// The process must be the scanner: its user writes the pid file, and any Perl program has the
    /// same executable.
    bool IsOurs(pid_t process) const override
    {
        const std::string folder = host::Path("/proc/" + std::to_string(process));
        const passwd* const user = getpwnam(std::string(Row().user).c_str());
        struct stat info {};
        std::string command;
        return user != nullptr && stat(folder.c_str(), &info) == 0 && info.st_uid == user->pw_uid &&
               host::ReadFile(folder + "/cmdline", command) &&
               command.rfind(Words(Row().command).front(), 0) == 0;
    }

    bool PrepareMore() override
    {
        const std::string user(Row().user);
        return MakeFolder("/var/lib/mailvane", 0755) &&
               MakeFolder("/var/lib/mailvane/quarantine", 0750, user, user) && MakeLog() &&
               HasSocketLink() && (Master() != 0 || ClearLeftovers());
    }

    /// A child process must answer: the socket alone accepts connections before that.
    bool Answers() override
    {
        const std::string wanted = "action=";
        return Ask(std::string(Row().socket), "request=smtpd_access_policy\n\n", wanted.size()) ==
               wanted;
    }

private:
    bool RunAs(const std::string& user, std::vector<std::string> words) const
    {
        Command command;
        command.words = std::move(words);
        command.user = user;
        return RunQuietly(Row().service, command);
    }

    /// The path where the tool that releases mail from the quarantine expects the socket.
    bool HasSocketLink() const
    {
        const char link[] = "/var/lib/amavis/amavisd.sock";
        const std::string socket(Row().socket);
        return host::daemons::LinkTarget(host::Path(link)) == socket ||
               RunAs(std::string(Row().user), {"/usr/bin/ln", "-sfn", socket, link});
    }

    /// For a start: it takes longer than the rest of a reload.
    bool ClearLeftovers() const
    {
        return ClearUnpacked() &&
               RunAs("", {host::PackagePath("target/scripts/clean_quarantine.sh")});
    }

    /// Removes unpacked mail left by a killed scanner, except newer folders, which the milter may
    /// use. Runs as the scanner's user, who could replace a found folder by a link. The chmod is
    /// for folders from archives that their owner may not enter.
    bool ClearUnpacked() const
    {
        const std::string user(Row().user);
        const std::string find =
            "/usr/bin/find /var/lib/amavis/tmp -mindepth 1 -maxdepth 1 -user " + user +
            " -mmin +60 " + "( ! -type d -o -exec chmod -R u+rwX {} ; -o -true ) -exec rm -rf {} +";
        return RunAs(user, Words(find));
    }

    bool MakeLog() const
    {
        const std::string path = host::Path("/var/log/mailvane/amavis.log");
        if (access(path.c_str(), F_OK) == 0) return true;
        return RunAs("", {"/usr/bin/install", "-m", "640", "-o", std::string(Row().user), "-g",
                          "adm", "/dev/null", path});
    }
};

/// The scanner's milter: its socket is writable for its group, so the umask is 007.
class ScannerMilter : public InnerDaemon {
public:
    using InnerDaemon::InnerDaemon;

protected:
    Command StartCommand() const override
    {
        Command command = InnerDaemon::StartCommand();
        command.mask = 007;
        return command;
    }
};

}  // namespace

std::unique_ptr<Supervisor> MakeScanner(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Scanner>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeScannerMilter(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<ScannerMilter>(daemon, stored);
}

}  // namespace service
