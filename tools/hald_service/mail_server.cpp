// The two mail servers, Postfix and Dovecot.
#include "tools/hald_service/mail_server.h"

#include <netdb.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "tools/hald_service/greeting.h"
#include "tools/hald_service/own_files.h"

namespace service {

namespace {

using host::daemons::Inode;
using host::daemons::Listener;

std::string ProcessFile(pid_t process, const char* name)
{
    std::string text;
    const std::string path = host::Path("/proc/" + std::to_string(process));
    return host::ReadFile(path + "/" + name, text) ? text : "";
}

/// Whether a file of a process in /proc, a list of texts that end with NUL, has this text.
bool HasText(pid_t process, const char* name, const std::string& text)
{
    const std::string all = std::string(1, '\0') + ProcessFile(process, name) + '\0';
    return all.find('\0' + text + '\0') != std::string::npos;
}

std::set<Inode> OpenBy(pid_t process)
{
    const std::string path = host::Path("/proc/" + std::to_string(process));
    return host::daemons::OpenSockets(path, true);
}

/// The listening sockets of a process.
std::vector<Listener> ListenersOf(pid_t process)
{
    const std::set<Inode> open = OpenBy(process);
    auto all = host::daemons::TcpListeners();
    if (!host::Succeeded(all)) return {};

    std::vector<Listener> listeners = *std::move(all);
    listeners.erase(
        std::remove_if(listeners.begin(), listeners.end(),
                       [&open](const Listener& one) { return open.count(one.inode) == 0; }),
        listeners.end());
    return listeners;
}

/// Done when none of these sockets is listening. A process that still serves a client keeps a
/// socket open until it has finished.
Progress AreClosed(const std::set<Inode>& sockets)
{
    const auto listeners = host::daemons::TcpListeners();
    if (!host::Succeeded(listeners)) return Progress::kInVain;
    for (const Listener& listener : *listeners) {
        if (sockets.count(listener.inode) > 0) return Progress::kNotYet;
    }
    return Progress::kDone;
}

/// The directory or file after "-c" in the row's command.
std::string ConfigurationOf(const host::daemons::Daemon& daemon)
{
    const std::vector<std::string> words = Words(daemon.command);
    return *(std::find(words.begin(), words.end(), "-c") + 1);
}

class Postfix : public MailServer {
public:
    using MailServer::MailServer;

protected:
    /// Does what `postfix reload` does, without its script: the queue is put in order, what is
    /// being delivered first. That also checks the parameters, on which the master would end.
    bool Reload(pid_t master) override
    {
        Command queue;
        queue.words = {host::programs::kPostsuper, "-c", ConfigurationOf(Row()), "active"};
        if (!RunQuietly(Row().service, queue) ||
            kill(master, host::daemons::ReloadOf(Row())->signal) != 0)
            return false;
        queue.words.pop_back();
        return Start(queue) > 0;
    }

    /// Settled when no port is open that master.cf does not have: Postfix closes ports last.
    bool IsSettled(const std::set<int>& listening) override
    {
        const std::set<int> asked = AskedPorts();
        return std::includes(asked.begin(), asked.end(), listening.begin(), listening.end());
    }

    std::vector<std::string> Configuration() const override
    {
        const std::string folder = host::Path(ConfigurationOf(Row()));
        return {folder + "/main.cf", folder + "/master.cf"};
    }

    /// Another instance of Postfix on this machine would have the same pid file and obey a reload.
    bool HasOurConfiguration(pid_t master) const override
    {
        return HasText(master, "environ", "MAIL_CONFIG=" + ConfigurationOf(Row()));
    }

private:
    /// The ports of the services in master.cf, given by number or name.
    std::set<int> AskedPorts() const
    {
        std::set<int> ports;
        std::string text;
        (void)host::ReadFile(host::Path(ConfigurationOf(Row()) + "/master.cf"), text);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            std::string name;
            std::string type;
            if (line.empty() || line[0] == '#' || line[0] == ' ' || line[0] == '\t') continue;
            std::istringstream(line) >> name >> type;
            if (type == "inet") ports.insert(PortNamed(name.substr(name.rfind(':') + 1)));
        }
        return ports;
    }

    static int PortNamed(const std::string& name)
    {
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            return std::atoi(name.c_str());
        }
        const servent* const service = getservbyname(name.c_str(), "tcp");
        return service == nullptr ? 0 : ntohs(static_cast<std::uint16_t>(service->s_port));
    }
};

class Dovecot : public MailServer {
public:
    using MailServer::MailServer;

protected:
    /// A delivery that was interrupted would otherwise wait for the next queue run.
    void Renewed() override
    {
        Command flush;
        flush.words = {host::programs::kPostqueue, "-c", ConfigurationOf(host::daemons::kPostfix),
                       "-f"};
        (void)Run(flush);
    }

    std::vector<std::string> Configuration() const override
    {
        return {host::Path(ConfigurationOf(Row()))};
    }

    /// Checks the configuration first: a reload with a faulty one does nothing and reports nothing.
    bool Reload(pid_t master) override
    {
        Command check;
        check.words = {host::programs::kDoveconf, "-n", "-c", ConfigurationOf(Row())};
        return RunQuietly(Row().service, check) &&
               kill(master, host::daemons::ReloadOf(Row())->signal) == 0;
    }

    bool IsSettled(const std::set<int>& /*listening*/) override
    {
        struct stat info {};
        for (const char* name : {"auth", "dovecot-lmtp"}) {
            const std::string path = std::string("/var/spool/postfix/private/") + name;
            if (stat(host::Path(path).c_str(), &info) < 0 || !S_ISSOCK(info.st_mode)) return false;
        }
        return true;
    }

    bool HasOurConfiguration(pid_t master) const override
    {
        return HasText(master, "cmdline", ConfigurationOf(Row()));
    }
};

}  // namespace

/// The processes that the server starts read its files again, so it also counts when the link to
/// those in force was turned since, be it to and fro.
StartNote MailServer::Now() const
{
    return {Row(),
            Settings(),
            {},
            StateOf(host::PackagePath("etc/generated/current")) + "\n" +
                StateOfNamedFiles(Configuration())};
}

bool MailServer::ListensAsAsked(pid_t master, std::vector<Listener>& called)
{
    const std::vector<Listener> listeners = ListenersOf(master);
    std::set<int> listening;
    for (const Listener& listener : listeners) listening.insert(listener.port);

    const Ports ports = PortsOf(Row(), Settings());
    for (const int port : ports.plain) {
        // The IPv4 socket comes first; it works even before any interface has an IPv6 address.
        const auto first = std::find_if(listeners.begin(), listeners.end(),
                                        [port](const Listener& one) { return one.port == port; });
        if (first == listeners.end()) return false;
        called.push_back(*first);
    }
    const bool isOpen = std::all_of(ports.tls.begin(), ports.tls.end(),
                                    [&listening](int port) { return listening.count(port) > 0; });
    return isOpen && IsSettled(listening);
}

bool MailServer::IsUpAt(pid_t master)
{
    std::vector<Listener> called;
    return ListensAsAsked(master, called) && Greet(called);
}

bool MailServer::IsUp()
{
    const pid_t master = Master();
    return master != 0 && IsUpAt(master);
}

/// Whether the server has reloaded: it has then replaced the pipes to its child processes, which
/// are more than half of its open sockets and pipes.
bool MailServer::HasTakenUp(const std::set<Inode>& had)
{
    return WaitFor(limits.reload, [this, &had] {
        const pid_t master = Master();
        if (master == 0) return Progress::kInVain;
        const std::set<Inode> open = OpenBy(master);
        const auto left = std::count_if(had.begin(), had.end(),
                                        [&open](Inode one) { return open.count(one) > 0; });
        const bool isNew = static_cast<std::size_t>(left) * 2 <= had.size();
        return isNew && IsUpAt(master) ? Progress::kDone : Progress::kNotYet;
    });
}

/// Makes a running server reload, or restarts it when that has no effect.
bool MailServer::Renew(pid_t master)
{
    const std::set<Inode> had = OpenBy(master);
    if (Reload(master)) return HasTakenUp(had) || StartAfresh();
    if (Master() != 0) return Fail("refuses its configuration");
    return StartAfresh();  // it was ending when it was found
}

/// Makes it read the configuration in force: by a reload, or by a start where one is needed.
bool MailServer::TakeUp(pid_t master, bool needsAStart)
{
    if (master == 0 || needsAStart) return StartAfresh();

    const std::vector<Listener> before = ListenersOf(master);
    if (!Renew(master)) return false;
    std::set<int> stay;
    for (const Listener& one : ListenersOf(Master())) stay.insert(one.port);
    std::set<Inode> closed;
    for (const Listener& one : before) {
        if (stay.count(one.port) == 0) closed.insert(one.inode);
    }
    if (!WaitFor(std::chrono::seconds(2), [&closed] { return AreClosed(closed); })) {
        Tell(Row().service, "a client still holds a closed port");
    }
    return true;
}

bool MailServer::BringUp()
{
    pid_t master = Master();
    if (master != 0 && !HasOurConfiguration(master)) master = 0;

    const StartNote now = Now();
    const std::string process = ProcessSet::Name(master);
    std::vector<Listener> called;
    if (master != 0 && now.Stands(process) && ListensAsAsked(master, called)) return true;

    const bool needsAStart = now.NeedsAStart(process);
    now.Forget();
    if (!TakeUp(master, needsAStart)) return false;
    Renewed();
    // Without the note, the next save makes it reload once more.
    (void)now.Write(ProcessSet::Name(Master()));
    return true;
}

std::unique_ptr<Supervisor> MakePostfix(const host::daemons::Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Postfix>(daemon, stored);
}

std::unique_ptr<Supervisor> MakeDovecot(const host::daemons::Daemon& daemon, const Stored& stored)
{
    return std::make_unique<Dovecot>(daemon, stored);
}

}  // namespace service
