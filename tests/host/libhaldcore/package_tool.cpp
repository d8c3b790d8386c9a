// A package tool for tests: `libhald_tool ROOT` prints what it was given by whoever started it, and
// whether it can have the request lock.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"

namespace {

long OpenDescriptors()
{
    long count = 0;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) ++count;
    }
    return count;
}

}  // namespace

int main(int count, char** arguments)
{
    host::SetRoot(arguments[1]);

    const long descriptors = OpenDescriptors();
    const bool held = host::TakeLock(std::chrono::milliseconds(0)) == host::LockResult::kHeld;
    host::ReleaseLock();

    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    struct sigaction pipe = {};
    sigaction(SIGPIPE, nullptr, &pipe);
    const mode_t mask = umask(0);

    std::printf("lock %s\ndescriptors %ld\nblocked %d ignored %d\n", held ? "held" : "busy",
                descriptors, sigismember(&blocked, SIGTERM), pipe.sa_handler == SIG_IGN ? 1 : 0);
    std::printf("umask %03o directory %s\ngroup %s\n", mask,
                std::filesystem::current_path().c_str(), getpgrp() == getpid() ? "own" : "shared");
    for (int i = 2; i < count; ++i) std::printf("argument [%s]\n", arguments[i]);
    for (char** entry = environ; *entry != nullptr; ++entry) std::printf("env %s\n", *entry);
    return 0;
}
