// maillog_collector: fills the mail-log database from the mail server's log until it is told to
// end.
//
//   maillog_collector [--root FOLDER] [--once]
//
// FOLDER is used as "/"; with --once it reads what the log has and ends.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include <poll.h>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/schema.h"
#include "tools/maillog_collector/collector.h"
#include "tools/maillog_collector/damaged_log.h"
#include "tools/maillog_collector/log_watch.h"

namespace {

constexpr int kRetryMs = 1000;

volatile std::sig_atomic_t ended = 0;

void End(int)
{
    ended = 1;
}

void EndOnSignals()
{
    struct sigaction action {};
    action.sa_handler = End;
    for (const int signal : {SIGTERM, SIGINT}) (void)sigaction(signal, &action, nullptr);
}

std::string LogFolder()
{
    const std::string path = host::Path(host::maillog::kPostfixLog);
    return path.substr(0, path.rfind('/'));
}

/// Collects until a signal or a failure; false after a failure. Logs a repeated failure only once.
bool Collect(std::string& lastFailure, bool once)
{
    try {
        // Made before the first read, so that no change is missed in between.
        collector::LogWatch watch(LogFolder());
        collector::Collector collector;
        while (ended == 0) {
            const bool any = collector.Step();
            lastFailure.clear();
            if (once && !any) return true;
            if (any) continue;
            watch.Wait();
            collector::CheckFile();
        }
        return true;
    } catch (const std::exception& failure) {
        if (lastFailure != failure.what()) host::Log(LOG_ERR, "mail log: %s", failure.what());
        lastFailure = failure.what();
        if (collector::TellsDamage(failure)) (void)collector::PutDamagedAside();
        return false;
    }
}

}  // namespace

int main(int count, char** arguments)
{
    bool once = false;
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], "--once") == 0) {
            once = true;
        } else if (std::strcmp(arguments[i], "--root") == 0 && i + 1 < count) {
            host::SetRoot(arguments[++i]);
        } else {
            std::fprintf(stderr, "usage: maillog_collector [--root FOLDER] [--once]\n");
            return 2;
        }
    }
    EndOnSignals();
    std::string failure;
    while (!Collect(failure, once) && ended == 0) {
        if (once) return EXIT_FAILURE;
        (void)::poll(nullptr, 0, kRetryMs);
    }
    return EXIT_SUCCESS;
}
