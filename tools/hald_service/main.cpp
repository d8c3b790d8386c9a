// hald_service: brings the package's services to what the stored settings ask for.
//
//   hald_service NAME start|restart   runs it, with the configuration in force, or stops it when
//                                     the settings do not want it
//   hald_service NAME reload          the same of one that runs
//   hald_service NAME stop
//   hald_service NAME status          says what runs; 0 when that is as it should be, else 3
//   hald_service table                prints what is known about each daemon, as JSON
//
// NAME is that of a control script. Each verb returns when the state is reached, and can be
// repeated. Only for units, with the name of a daemon: `wanted` (0 when the settings switch it on),
// `launch` (starts it; status 75: do not retry), and `drain`, which stops the web server's gate
// when it is idle.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/paths.h"
#include "tools/hald_service/own_daemons.h"
#include "tools/hald_service/table.h"
#include "tools/hald_service/units.h"

namespace service {

namespace {

using host::daemons::Daemon;
using Service = std::vector<std::unique_ptr<Supervisor>>;

constexpr int kNotAsItShould = 3;
constexpr int kUsage = 2;
constexpr std::chrono::seconds kTurn{100};  // callers wait for two minutes at most

int Status(bool isGood)
{
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// Waits until no other verb runs for this service.
host::Descriptor TakeTurn(const std::string& service)
{
    if (!MakeFolder("/run/mailvane", 0755)) return {};
    const std::string path = host::Path("/run/mailvane/" + service + ".control.lock");
    host::Descriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    const bool isOurs =
        lock && WaitFor(kTurn, [&lock] {
            return flock(lock.get(), LOCK_EX | LOCK_NB) == 0 ? Progress::kDone : Progress::kNotYet;
        });
    if (!isOurs) lock.Close();
    return lock;
}

bool FollowsAtBoot(const Supervisor& daemon)
{
    return !UnderSystemd() || !IsMail(daemon.Row()) ||
           (daemon.IsDecided() && FollowAtBoot(daemon.Row(), daemon.IsWanted()));
}

bool StopAll(const Service& service)
{
    for (auto daemon = service.rbegin(); daemon != service.rend(); ++daemon) {
        if (!(*daemon)->TakeDown() || !FollowsAtBoot(**daemon)) return false;
    }
    return true;
}

bool StartAll(const Service& service)
{
    for (const auto& daemon : service) {
        if (!daemon->BringUp() || !FollowsAtBoot(*daemon)) return false;
    }
    return true;
}

int ShowStatus(const Service& service)
{
    bool isRight = true;
    for (const auto& daemon : service) {
        const pid_t master = daemon->Master();
        const bool isUp = master != 0 && daemon->IsUp();
        const std::string name(daemon->Row().name);
        const char* const wanted = daemon->IsWanted() ? "switched on" : "switched off";
        if (master == 0) {
            (void)std::printf("%s does not run, %s\n", name.c_str(), wanted);
        } else {
            (void)std::printf("%s %s (process %d), %s\n", name.c_str(),
                              isUp ? "is up" : "runs, but is not up", static_cast<int>(master),
                              wanted);
        }
        isRight = isRight && (daemon->IsWanted() ? isUp : master == 0);
    }
    return isRight ? EXIT_SUCCESS : kNotAsItShould;
}

int Control(const Service& service, const std::string& verb)
{
    const Supervisor& first = *service.front();
    const std::string name(first.Row().service);
    const bool isOff = verb == "stop" || !first.IsWanted();
    if (IsMail(first.Row()) && !HandedOver()) {
        if (isOff) return EXIT_SUCCESS;
        Tell(name,
             "this machine's mail services are not handed over yet: run mailvane-setup adopt");
        return EXIT_FAILURE;
    }
    const host::Descriptor turn = TakeTurn(name);
    if (!turn) {
        Tell(name, "somebody else is at it");
        return EXIT_FAILURE;
    }
    const auto runs = [](const auto& daemon) { return daemon->Master() != 0; };
    if (verb == "reload" && std::none_of(service.begin(), service.end(), runs)) return EXIT_SUCCESS;
    return Status(isOff ? StopAll(service) : StartAll(service));
}

/// Runs a verb that the daemon's unit uses.
int RunForUnit(Supervisor& daemon, const std::string& verb)
{
    if (verb == "wanted") return Status(daemon.IsWanted());
    return daemon.IsWanted() ? daemon.Launch() : EXIT_FAILURE;
}

bool IsOneOf(const std::string& word, std::initializer_list<const char*> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

int Act(const std::string& name, const std::string& verb)
{
    const bool isForUnit = IsOneOf(verb, {"wanted", "launch"});
    // Services without switches can be started and stopped even when the settings cannot be read.
    const Stored stored = Stored::Read();
    Service service;
    for (const Daemon& daemon : host::daemons::kDaemons) {
        if ((isForUnit ? daemon.name : daemon.service) != name) continue;
        if (verb != "stop" && !stored.HasAllOf(daemon)) return EXIT_FAILURE;
        service.push_back(SupervisorOf(daemon, stored));
    }
    if (service.empty()) return kUsage;
    if (verb == "begin") return BeginVirusEngine(stored);
    if (verb == "status") return ShowStatus(service);
    return isForUnit ? RunForUnit(*service.front(), verb) : Control(service, verb);
}

int Main(const std::vector<std::string>& words)
{
    if (words == std::vector<std::string>{"table"}) return PrintTable();
    if (words == std::vector<std::string>{"gate", "drain"}) {
        const char* const leader = std::getenv("MAINPID");
        return DrainGate(leader == nullptr ? 0 : std::atoi(leader));
    }
    const bool isKnown =
        words.size() == 2 &&
        (IsOneOf(words[1], {"start", "stop", "restart", "reload", "status", "wanted", "launch"}) ||
         (words[0] == host::daemons::kAntiVirus.service && words[1] == "begin"));
    const int status = isKnown ? Act(words[0], words[1]) : kUsage;
    if (status == kUsage) {
        (void)std::fprintf(stderr, "usage: %s start|stop|restart|reload|status\n",
                           words.empty() ? "hald_service NAME" : words[0].c_str());
    }
    return status;
}

}  // namespace

}  // namespace service

int main(int count, char** arguments)
{
    (void)umask(022);
    // The caller may have left SIGCHLD ignored; children could not be waited for then.
    (void)std::signal(SIGCHLD, SIG_DFL);
    (void)std::signal(SIGPIPE, SIG_IGN);
    return service::Main({arguments + 1, arguments + count});
}
