// Supervisors of the scanner, its milter and the DKIM filter, which need more than other daemons
// behind sockets.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
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
               // The path where the tool that releases mail from the quarantine expects the socket.
               RunAs(user, {"/usr/bin/ln", "-sfn", std::string(Row().socket),
                            "/var/lib/amavis/amavisd.sock"}) &&
               ClearUnpacked() &&
               RunAs("", {host::PackagePath("target/scripts/clean_quarantine.sh")});
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

    /// Removes unpacked mail that a killed scanner left; newer folders may be in use by the milter.
    /// Runs as the scanner's user, who could replace a folder that was found by a link. An archive
    /// may hold folders that their owner may not enter, hence the chmod.
    bool ClearUnpacked() const
    {
        return RunAs(std::string(Row().user), {"/usr/bin/find",
                                               "/var/lib/amavis/tmp",
                                               "-mindepth",
                                               "1",
                                               "-maxdepth",
                                               "1",
                                               "-user",
                                               std::string(Row().user),
                                               "-mmin",
                                               "+60",
                                               "(",
                                               "!",
                                               "-type",
                                               "d",
                                               "-o",
                                               "-exec",
                                               "chmod",
                                               "-R",
                                               "u+rwX",
                                               "{}",
                                               ";",
                                               "-o",
                                               "-true",
                                               ")",
                                               "-exec",
                                               "rm",
                                               "-rf",
                                               "{}",
                                               "+"});
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

/// The DKIM filter: it gets a copy of the private key, since it cannot enter the folder of the
/// keys.
class DkimFilter : public InnerDaemon {
public:
    using InnerDaemon::InnerDaemon;

protected:
    bool PrepareMore() override
    {
        const std::string own = "/var/packages/Mailvane/etc/dkim.signer";
        if (!MakeFolder(own, 0750, "root", std::string(Row().user))) return false;

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

std::unique_ptr<Supervisor> MakeScanner(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Scanner>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeScannerMilter(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<ScannerMilter>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeDkimFilter(const Daemon& daemon, const Stored& stored)
{
    return std::make_unique<DkimFilter>(daemon, stored);
}

}  // namespace service
