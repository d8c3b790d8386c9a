// The request lock among real processes.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/run_program.h"
#include "tests/host/machine.h"

namespace {

using host::LockResult;
using host::TakeLock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kAtOnce{0};

/// Exit statuses of a child that takes the lock.
constexpr int kHeld = 0;
constexpr int kBusy = 1;

class Lock : public Machine {
protected:
    /// A child that takes the lock within `patience` and then does `work`.
    static pid_t Taker(milliseconds patience, const std::function<void()>& work)
    {
        return InChild([&] {
            host::ForgetLock();
            if (TakeLock(patience) != LockResult::kHeld) return kBusy;
            work();
            return kHeld;
        });
    }

    static int TryInAnotherProcess()
    {
        return StatusOf(Taker(kAtOnce, [] {}));
    }

    /// Whether a place is taken, which lie behind the byte of the lock itself.
    static bool SomebodyWaits()
    {
        const int file = open(host::PackagePath("etc/lock").c_str(), O_RDWR | O_CLOEXEC);
        struct flock places = {};
        places.l_type = F_WRLCK;
        places.l_start = 1;
        (void)fcntl(file, F_OFD_GETLK, &places);
        (void)close(file);
        return places.l_type != F_UNLCK;
    }

    /// The test tool as a program of this name; its output.
    std::string RunTool(const std::string& path) const
    {
        const std::string real = host::Path(path);
        std::filesystem::create_directories(std::filesystem::path(real).parent_path());
        std::filesystem::create_symlink(LIBHALD_TOOL, real);
        host::ProgramOptions options;
        options.capture = true;
        return host::RunProgram({real, root}, options).output;
    }
};

TEST_F(Lock, IsReentrantAndEndsWithItsLastRelease)
{
    EXPECT_FALSE(host::LockIsHeld());
    {
        const host::ScopedLock outer;
        const host::ScopedLock inner;
        EXPECT_TRUE(outer.held() && inner.held());
        EXPECT_EQ(LockResult::kHeld, TakeLock(kAtOnce));
        host::ReleaseLock();
        EXPECT_EQ(kBusy, TryInAnotherProcess());
    }
    EXPECT_FALSE(host::LockIsHeld());
    host::ReleaseLock();  // once too often
    EXPECT_EQ(kHeld, TryInAnotherProcess());
    EXPECT_EQ(0600U, Mode(host::PackagePath("etc/lock")));
}

TEST_F(Lock, LetsFourWaitAndTurnsTheRestAway)
{
    const std::string log = root + "/log";
    // The holder has waited itself, and has given its place back.
    const pid_t before = Taker(seconds(20), [] { pause(); });
    while (TryInAnotherProcess() == kHeld) std::this_thread::sleep_for(milliseconds(5));
    std::thread end([before] {
        while (!SomebodyWaits()) std::this_thread::sleep_for(milliseconds(5));
        kill(before, SIGKILL);
    });
    ASSERT_EQ(LockResult::kHeld, TakeLock(seconds(20)));
    end.join();
    EXPECT_EQ(-SIGKILL, StatusOf(before));

    for (int i = 0; i < 8; ++i) {
        Taker(seconds(20), [&] {
            const int file = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            (void)!write(file, "in ", 3);
            std::this_thread::sleep_for(milliseconds(20));
            (void)!write(file, "out\n", 4);
        });
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(kBusy, StatusOf(-1)) << "turned away at once";
    EXPECT_EQ(0, waitpid(-1, nullptr, WNOHANG)) << "the others wait";

    host::ReleaseLock();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(kHeld, StatusOf(-1));
    EXPECT_EQ("in out\nin out\nin out\nin out\n", Contents(log)) << "one after the other";
}

TEST_F(Lock, IsFreeOnceItsHolderIsKilled)
{
    const pid_t holder = Taker(seconds(20), [] { pause(); });
    while (TryInAnotherProcess() == kHeld) std::this_thread::sleep_for(milliseconds(5));
    EXPECT_EQ(LockResult::kBusy, TakeLock(milliseconds(100))) << "patience ends";
    kill(holder, SIGKILL);
    EXPECT_EQ(LockResult::kHeld, TakeLock(seconds(5)));
    EXPECT_EQ(-SIGKILL, StatusOf(holder));
}

TEST_F(Lock, PassesToPackageToolsAlone)
{
    ASSERT_EQ(LockResult::kHeld, TakeLock(kAtOnce));
    const std::string tool = RunTool(host::PackagePath("target/bin/tool"));
    EXPECT_NE(std::string::npos, tool.find("lock held\ndescriptors 1\n")) << tool;
    EXPECT_EQ(kBusy, TryInAnotherProcess()) << "the tool's release is not its caller's";

    const std::string other = RunTool("/usr/bin/tool");
    EXPECT_NE(std::string::npos, other.find("lock busy\ndescriptors 0\n")) << other;
    host::ReleaseLock();
    EXPECT_EQ(kHeld, TryInAnotherProcess());
}

TEST_F(Lock, IsNotBelievedFromTheEnvironmentAlone)
{
    ASSERT_EQ(LockResult::kHeld, TakeLock(kAtOnce));
    const int fresh = open(host::PackagePath("etc/lock").c_str(), O_RDWR | O_CLOEXEC);
    const std::pair<int, const char*> rows[] = {{fresh, "busy"}, {host::LockDescriptor(), "held"}};
    for (const auto& [descriptor, want] : rows) {
        const pid_t child = InChild([&, inherited = descriptor] {
            dup2(inherited, 9);
            dup2(open((root + "/output").c_str(), O_WRONLY | O_CREAT, 0600), 1);
            setenv(host::kLockVariable, "9", 1);
            return execl(LIBHALD_TOOL, LIBHALD_TOOL, root.c_str(), nullptr);
        });
        EXPECT_EQ(0, StatusOf(child));
        EXPECT_EQ(0U, Contents("/output").find("lock " + std::string(want)));
    }
    close(fresh);
}

}  // namespace
