// The package's web server: reads its environment in /proc, runs its control script.
#include "upkeep/web_server/web_server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/web_ports.h"

namespace upkeep {

namespace {

namespace daemons = host::daemons;

constexpr int kPatience = 10000;  // milliseconds

/// In the new process: waits for the end of the request, which holds the other end of a pipe.
[[noreturn]] void WaitAndDo(const std::function<void()>& work,
                            const host::Descriptor& request) noexcept
{
    (void)setsid();
    const host::Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        (void)dup2(nothing.get(), stream);
    }
    char byte = 0;
    while (read(request.get(), &byte, 1) < 0 && errno == EINTR) continue;
    work();
    _exit(0);
}

}  // namespace

WebServer::WebServer()
{
    const daemons::Daemon& web = daemons::kWebServer;
    const std::string process =
        daemons::DaemonProcess(std::string(web.pidFile), std::string(web.program));
    std::string environment;
    if (process.empty() || !host::ReadFile(process + "/environ", environment)) return;

    process_ = std::atoi(process.substr(process.rfind('/') + 1).c_str());
    for (std::size_t start = 0; start < environment.size();) {
        const std::size_t end = std::min(environment.find('\0', start), environment.size());
        const std::string pair = environment.substr(start, end - start);
        const std::string name = pair.substr(0, pair.find('='));
        if (name == daemons::kWebPort || name == daemons::kWebTlsPort) ports_.push_back(pair);
        if (name == daemons::kWebTlsPort) servesNetwork_ = pair.size() > name.size() + 1;
        start = end + 1;
    }
}

bool WebServer::IsOurCaller() const
{
    const std::string program =
        daemons::LinkTarget(host::Path("/proc/" + std::to_string(getppid()) + "/exe"));
    return program.rfind(daemons::kGate.program, 0) == 0;
}

void WebServer::EndGently() const
{
    if (process_ <= 0) return;
    const host::Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    (void)kill(process_, SIGINT);
    pollfd wait{process.get(), POLLIN, 0};
    (void)poll(&wait, 1, kPatience);
}

host::Result<void> WebServer::Restart() const
{
    std::vector<std::string> words{host::programs::kEnv};
    words.insert(words.end(), ports_.begin(), ports_.end());
    const std::string service(daemons::kWebServer.service);
    words.push_back(host::PackagePath("target/scripts/" + service + ".sh"));
    words.emplace_back("restart");
    host::ProgramResult result = host::RunProgram(words);
    if (result.Succeeded()) return {};
    return host::Reason{host::ReasonCode::kDaemonIsDown,
                        host::Subject::Service(daemons::kWebServer),
                        "the web server does not come up", result.Causes()};
}

bool DoAfterAnswer(const std::function<void()>& work)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) < 0) return false;
    const host::Descriptor reading(ends[0]);
    host::Descriptor writing(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        writing.Close();
        WaitAndDo(work, reading);
    }
    // This process keeps its end open until its own.
    if (child > 0) (void)writing.Release();
    return child > 0;
}

}  // namespace upkeep
