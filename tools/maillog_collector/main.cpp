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
#include <string>

#include <poll.h>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/result.h"
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
    const std::string path = host::maillog::CollectedLogPath();
    return path.substr(0, path.rfind('/'));
}

/// Logs a failure, a repeated one only once, and puts a damaged database aside.
void Report(const host::Reason& failure, std::string& lastFailure)
{
    if (lastFailure != failure.text) host::LogReason(failure);
    lastFailure = failure.text;
    if (failure.code == host::ReasonCode::kDamaged) {
        (void)host::Succeeded(collector::PutDamagedAside());
    }
}

/// Takes in what is new and gives true, or gives false when there was nothing; then, unless this is
/// to run `once`, waits for a change.
host::Result<bool> Advance(collector::Collector& collector, collector::LogWatch& watch, bool once)
{
    host::Result<bool> any = collector.Step();
    if (!any || *any || once) return any;

    watch.Wait();
    host::Result<void> whole = collector::CheckFile();
    if (!whole) return std::move(whole).reason();
    return any;
}

/// Collects until a signal or a failure; false after a failure.
bool Collect(std::string& lastFailure, bool once)
{
    // Made before the first read, so that no change is missed in between.
    collector::LogWatch watch(LogFolder());
    collector::Collector collector;
    while (ended == 0) {
        const host::Result<bool> any = Advance(collector, watch, once);
        if (!any) {
            Report(any.reason(), lastFailure);
            return false;
        }
        lastFailure.clear();
        if (once && !*any) return true;
    }
    return true;
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
