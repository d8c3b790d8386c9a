// hald_anti-virus: updates the signatures of the anti-virus engine.
//
//   hald_anti-virus update    fetches what is new, once; while another run does, waits for that
//
// /run/hald_freshclam.pid exists while it runs. It ends within half an hour.
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/result.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/start_program.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/system/user_command.h"

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;

const char kPidFile[] = "/run/hald_freshclam.pid";
const char kLockFolder[] = "/run/mailvane";
const char kLockFile[] = "/run/mailvane/freshclam.lock";
const char kSignatures[] = "/var/lib/clamav";
constexpr std::chrono::minutes kLimit{30};
constexpr std::chrono::seconds kGrace{5};

enum class Turn { kOurs, kDoneByAnother };

/// Takes the lock. When another run has it, waits for its end: then there is nothing left to do.
Result<Turn> TakeTurn(host::Descriptor& lock)
{
    (void)host::MakeDirectories(host::Path(kLockFolder), 0755);
    lock = host::Descriptor(
        open(host::Path(kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (lock && flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return Turn::kOurs;
    const bool isHeld = lock && errno == EWOULDBLOCK;
    if (isHeld && flock(lock.get(), LOCK_EX) == 0) return Turn::kDoneByAnother;
    return host::SystemReason(kLockFile, std::string("cannot lock ") + kLockFile);
}

/// A descriptor from which signals that ask the process to end can be read.
host::Descriptor CatchEndSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ends, number);
    (void)sigprocmask(SIG_BLOCK, &ends, nullptr);
    return host::Descriptor(signalfd(-1, &ends, SFD_CLOEXEC));
}

/// Waits for the program's end; false when the limit was over or a signal came first.
bool WaitForEnd(const host::StartedProgram& program, int signals, std::chrono::milliseconds limit)
{
    pollfd waits[] = {{program.process.get(), POLLIN, 0}, {signals, POLLIN, 0}};
    int ready = 0;
    do {
        ready = poll(waits, signals < 0 ? 1 : 2, static_cast<int>(limit.count()));
    } while (ready < 0 && errno == EINTR);
    return waits[0].revents != 0;
}

/// Kills a program that has not ended, and removes its incomplete files.
void Break(const host::StartedProgram& program)
{
    (void)kill(-program.pid, SIGTERM);
    if (!WaitForEnd(program, -1, kGrace)) (void)kill(-program.pid, SIGKILL);
    const std::string folder = kSignatures;
    (void)host::RunProgram(host::system::AsUser(
        host::daemons::kAntiVirus.user,
        {host::programs::kFind, folder, "-depth", "-path", folder + "/tmp.*", "-delete"}));
}

/// How the updater ended.
Result<void> Judge(int status)
{
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return {};
    return Reason{ReasonCode::kSystem, kSignatures,
                  "the signatures could not be updated: status " +
                      std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1)};
}

/// Runs the updater, which also logs why it fails.
Result<void> Update()
{
    const host::Descriptor signals = CatchEndSignals();
    const host::Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const std::string configuration =
        host::PackagePath("etc/generated/current/clamav/freshclam.conf");
    const auto command =
        host::system::AsUser(host::daemons::kAntiVirus.user,
                             {host::programs::kFreshclam, "--config-file=" + configuration});
    const auto program = host::StartProgram(command, {null.get(), null.get(), null.get()});
    if (!program) return program.reason();

    if (!WaitForEnd(*program, signals.get(), kLimit)) Break(*program);
    int status = 0;
    if (waitpid(program->pid, &status, 0) >= 0) return Judge(status);
    return host::SystemReason(kSignatures, "the updater cannot be waited for");
}

Result<void> RunUpdate()
{
    host::Descriptor lock;
    const Result<Turn> turn = TakeTurn(lock);
    if (!turn) return turn.reason();
    if (*turn == Turn::kDoneByAnother) return {};

    const std::string pidFile = host::Path(kPidFile);
    if (!host::ReplaceFile(pidFile, std::to_string(getpid()) + "\n", 0644)) {
        return host::SystemReason(pidFile, "cannot write " + pidFile);
    }

    // Starts an engine that had no signatures before; one that runs was notified by the updater.
    Result<void> done = Update();
    if (done) done = host::daemons::RunControlScript(host::daemons::kAntiVirus, "start");
    (void)unlink(pidFile.c_str());
    return done;
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2 || std::strcmp(arguments[1], "update") != 0) {
        std::fprintf(stderr, "usage: hald_anti-virus update\n");
        return 2;
    }
    if (host::Succeeded(RunUpdate())) return EXIT_SUCCESS;

    std::fprintf(stderr, "hald_anti-virus: failed, see the system log\n");
    return EXIT_FAILURE;
}
