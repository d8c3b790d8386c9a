// The timer that takes back what is not confirmed. Runs systemd-run and systemctl.
#include "host/libmailvane/save/take_back_timer.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/start_program.h"

namespace host::save {

namespace {

constexpr char kUnit[] = "mailvane-take-back";

bool UnderSystemd()
{
    return access(Path("/run/systemd/system").c_str(), F_OK) == 0;
}

Reason CannotStart()
{
    return {ReasonCode::kSystem, kUnit, "the timer that takes the change back cannot be started"};
}

/// Starts the tool as nobody's child, without the lock of this process.
Result<void> StartWaiting()
{
    const pid_t child = fork();
    if (child == 0) {
        (void)setsid();
        ForgetLock();
        const Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
        const auto started = StartProgram({PackagePath("target/bin/hald_set_config"), "take-back"},
                                          {nothing.get(), nothing.get(), nothing.get()});
        _exit(started ? 0 : 1);
    }
    int status = -1;
    if (child > 0 && waitpid(child, &status, 0) == child && status == 0) return {};
    return CannotStart();
}

}  // namespace

Result<void> StartTakeBackTimer(std::int64_t seconds)
{
    if (!UnderSystemd()) return StartWaiting();

    StopTakeBackTimer();
    const ProgramResult started =
        RunProgram({programs::kSystemdRun, "--quiet", "--on-active=" + std::to_string(seconds),
                    "--timer-property=AccuracySec=1s", std::string("--unit=") + kUnit});
    if (started.Succeeded()) return {};
    Reason reason = CannotStart();
    reason.causes = started.Causes();
    return reason;
}

void StopTakeBackTimer()
{
    if (!UnderSystemd()) return;
    ProgramOptions quietly;
    quietly.capture = true;  // that there is none is no failure
    (void)RunProgram({programs::kSystemctl, "--quiet", "stop", std::string(kUnit) + ".timer"},
                     quietly);
}

}  // namespace host::save
