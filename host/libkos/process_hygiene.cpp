// Limits and signals of the process that answers a request.
#include "host/libkos/process_hygiene.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "host/libhaldcore/child_limits.h"

namespace kos {

namespace {

/// Blocks signals instead of ignoring them: programs that are started would inherit ignored ones.
void Change(int how, std::initializer_list<int> signals)
{
    sigset_t set;
    (void)sigemptyset(&set);
    for (const int signal : signals) (void)sigaddset(&set, signal);
    (void)sigprocmask(how, &set, nullptr);
}

}  // namespace

void PrepareProcess()
{
    (void)umask(S_IRWXG | S_IRWXO);
    host::LimitThisProcess();
    (void)signal(SIGPIPE, SIG_DFL);
    Change(SIG_UNBLOCK, {SIGPIPE});
    Change(SIG_BLOCK, {SIGTERM, SIGHUP});
}

void DeferSignals()
{
    Change(SIG_BLOCK, {SIGTERM, SIGHUP, SIGPIPE});
}

void AllowSignals()
{
    Change(SIG_UNBLOCK, {SIGTERM, SIGHUP});
}

void EndAfter(unsigned seconds)
{
    (void)signal(SIGALRM, SIG_DFL);
    Change(SIG_UNBLOCK, {SIGALRM});
    (void)alarm(seconds);
}

}  // namespace kos
