// The anti-virus engine. Its first signatures may take minutes to download and load. So a start
// returns when a background process, the starter, is at work (its pid is in
// /run/hald_anti-virus.pid), or when the engine is up already. A stop returns when both have ended.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/signatures.h"
#include "tools/hald_service/own_daemons.h"
#include "tools/hald_service/units.h"

namespace service {

namespace {

namespace fs = std::filesystem;

const char kStarterFile[] = "/run/hald_anti-virus.pid";
const char kLockFile[] = "/run/mailvane/clamd.lock";
constexpr int kNoSignatures = 75;  // tells the unit not to retry
constexpr std::chrono::seconds kToBegin{10};
constexpr std::chrono::minutes kToFetch{40};

std::string OwnProgram()
{
    return host::PackagePath("target/bin/hald_service");
}

/// The pid of the running starter; 0 when there is none.
pid_t Starter()
{
    const std::string process = host::daemons::DaemonProcess(kStarterFile, OwnProgram());
    if (process.empty()) return 0;
    return static_cast<pid_t>(std::atoi(process.c_str() + process.rfind('/') + 1));
}

bool HasSignatures()
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(host::Path("/var/lib/clamav"), error)) {
        if (host::daemons::IsSignatureFile(entry.path()) && entry.is_regular_file(error))
            return true;
    }
    return false;
}

void FetchSignatures()
{
    Command command;
    command.words = {host::PackagePath("target/bin/hald_anti-virus"), "update"};
    (void)Run(command, kToFetch);
}

class VirusEngine : public InnerDaemon {
public:
    VirusEngine(const host::daemons::Daemon& daemon, const Stored& stored)
        : InnerDaemon(daemon, stored)
    {
        limits.start = std::chrono::minutes(10);
    }

    bool BringUp() override
    {
        for (const char* program : {host::programs::kClamd, host::programs::kFreshclam}) {
            if (access(host::Path(program).c_str(), X_OK) < 0)
                return Fail("is not on this machine");
        }
        if (Starter() != 0 || IsUpToDate()) return true;
        return (UnderSystemd() ? BeginInUnit() : BeginAside()) || Fail("has no starter");
    }

    bool TakeDown() override
    {
        const pid_t starter = UnderSystemd() ? 0 : Starter();
        if (starter != 0 && !End(starter)) return Fail("has a starter that does not end");
        if (!InnerDaemon::TakeDown()) return false;
        (void)unlink(host::Path(kStarterFile).c_str());
        return true;
    }

    int Launch() override { return Begin(); }

    /// Runs as the starter.
    int Begin()
    {
        const std::string file = host::Path(kStarterFile);
        if (!host::ReplaceFile(file, std::to_string(getpid()) + "\n", 0644)) return EXIT_FAILURE;
        if (!HasSignatures()) FetchSignatures();
        const int status = StartNow();
        (void)unlink(file.c_str());
        return status;
    }

protected:
    bool Answers() override
    {
        return Ask(std::string(Row().socket), std::string("zPING", sizeof "zPING"), 4) == "PONG";
    }

private:
    int StartNow()
    {
        if (!HasSignatures()) {
            (void)Fail("has no signatures, and they could not be fetched");
            return kNoSignatures;
        }
        return (UnderSystemd() ? StartDaemon() : StartAfresh()) ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    bool BeginInUnit()
    {
        if (!InnerDaemon::TakeDown()) return false;
        const std::string unit(Row().unit);
        (void)Systemctl({"--no-block", "start", unit});
        if (BootRecovers()) return true;
        return WaitFor(kToBegin, [&unit] {
            return Starter() != 0 || Systemctl({"--quiet", "is-active", unit}) ? Progress::kDone
                                                                               : Progress::kNotYet;
        });
    }

    /// Starts the starter. It has begun when its pid file is there, or when it has already ended.
    bool BeginAside()
    {
        Command command;
        command.words = {OwnProgram(), std::string(Row().service), "begin"};
        const pid_t child = Start(command);
        if (child < 0) return false;
        const ProcessSet starter = ProcessSet::Of(child);
        return WaitFor(kToBegin, [&starter] {
            return Starter() != 0 || starter.AreGone() ? Progress::kDone : Progress::kNotYet;
        });
    }

    bool End(pid_t starter)
    {
        const ProcessSet processes = ProcessSet::Of(starter, true);
        processes.Signal(SIGTERM);
        return WaitFor(kToBegin, [&processes] {
            return processes.AreGone() ? Progress::kDone : Progress::kNotYet;
        });
    }
};

}  // namespace

std::unique_ptr<Supervisor> MakeVirusEngine(const host::daemons::Daemon& daemon,
                                            const Stored& stored)
{
    return std::make_unique<VirusEngine>(daemon, stored);
}

int BeginVirusEngine(const Stored& stored)
{
    // Only one starter runs at a time. Programs that it starts do not inherit the lock.
    if (!MakeFolder("/run/mailvane", 0755)) return EXIT_FAILURE;
    const host::Descriptor lock(
        open(host::Path(kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) < 0) return EXIT_FAILURE;
    return VirusEngine(host::daemons::kAntiVirus, stored).Begin();
}

}  // namespace service
