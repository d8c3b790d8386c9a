// Work under a user's number: what it holds, and what becomes of work that does not end.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libmailvane/system/user_child.h"
#include "tests/host/machine.h"

namespace {

using host::Descriptor;
using host::Reason;
using host::ReasonCode;
using host::Result;
using std::chrono::milliseconds;
using Work = std::function<Result<void>(int home)>;

class UserChild : public Machine {
protected:
    void SetUp() override
    {
        if (geteuid() != 0) GTEST_SKIP() << "needs root";
        Machine::SetUp();
        Write("/home/alice/x", "");
    }

    static Result<void> Run(milliseconds limit, const Work& work)
    {
        return host::system::RunAsUser({"alice", getuid(), getgid(), "/home/alice"}, "script",
                                       limit, work);
    }

    static Result<void> RunLong(const Work& work) { return Run(std::chrono::minutes(1), work); }
};

/// While it lives, this process opens no further descriptors.
class NoMoreDescriptors {
public:
    NoMoreDescriptors()
    {
        (void)getrlimit(RLIMIT_NOFILE, &before_);
        struct rlimit now = before_;
        // Room for those of the child, which has closed what it got.
        for (Descriptor& one : taken_) one = Descriptor(open("/dev/null", O_RDONLY));
        now.rlim_cur = static_cast<rlim_t>(taken_[3].get()) + 1;
        (void)setrlimit(RLIMIT_NOFILE, &now);
    }
    ~NoMoreDescriptors() { (void)setrlimit(RLIMIT_NOFILE, &before_); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    struct rlimit before_ = {};
    Descriptor taken_[4];
};

[[noreturn]] Result<void> WaitForEver()
{
    for (;;) (void)pause();
}

Result<void> Stop(int /*home*/)
{
    (void)raise(SIGSTOP);
    return WaitForEver();
}

Result<void> HearNothing(int /*home*/)
{
    sigset_t all;
    sigfillset(&all);
    (void)sigprocmask(SIG_SETMASK, &all, nullptr);
    return WaitForEver();
}

Result<void> WriteForEver(int /*home*/)
{
    for (;;) (void)!write(STDOUT_FILENO, "forged answer\n", 14);
}

/// Starts a tracer of this process, which keeps it from vanishing; its number, or 0.
pid_t StartTracer()
{
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) < 0) return 0;
    const pid_t traced = getpid();
    const pid_t tracer = InChild([&] {
        (void)alarm(300);
        if (ptrace(PTRACE_SEIZE, traced, nullptr, nullptr) < 0) return 1;
        (void)!write(ready[1], "x", 1);
        (void)WaitForEver();
    });
    (void)close(ready[1]);
    char byte = 0;
    return read(ready[0], &byte, 1) == 1 ? tracer : 0;
}

}  // namespace

TEST_F(UserChild, HoldsNothingOfItsParent)
{
    const host::ScopedLock lock;
    const Descriptor answer(open("/dev/null", O_WRONLY));
    ASSERT_TRUE(lock.held() && answer);
    EXPECT_TRUE(RunLong([](int home) -> Result<void> {
        struct stat null = {};
        (void)stat("/dev/null", &null);
        for (int number = 0; number < 1000; ++number) {
            struct stat found = {};
            if (fstat(number, &found) < 0 || number == home) continue;
            if (number > STDERR_FILENO || found.st_rdev != null.st_rdev) return Reason();
        }
        if (host::LockIsHeld()) return Reason();
        return {};
    }));
    EXPECT_TRUE(host::LockIsHeld());
}

TEST_F(UserChild, IsKilledAfterItsLimit)
{
    for (const Work& work : {Work(Stop), Work(HearNothing), Work(WriteForEver)}) {
        const Result<void> done = Run(milliseconds(50), work);
        ASSERT_FALSE(done);
        EXPECT_EQ(done.reason().code, ReasonCode::kOutOfTime);
        EXPECT_EQ(done.reason().text, "script of alice: its process took too long and was killed");
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "it is still there";
    }
}

TEST_F(UserChild, EndsWithItsParent)
{
    (void)prctl(PR_SET_CHILD_SUBREAPER, 1);  // what the parent leaves is found here
    const pid_t parent = InChild([] {
        const auto begin = [](int home) {
            (void)alarm(30);
            (void)mkdirat(home, "begun", 0700);
            return WaitForEver();
        };
        return RunLong(begin) ? 0 : 1;
    });
    const std::string begun = host::Path("/home/alice/begun");
    for (int i = 0; i < 3000 && !std::filesystem::exists(begun); ++i) (void)usleep(10000);
    (void)kill(parent, SIGKILL);
    EXPECT_EQ(-SIGKILL, StatusOf(parent));
    EXPECT_EQ(-SIGKILL, StatusOf(-1)) << "its child";
}

TEST_F(UserChild, SaysWhyItFailed)
{
    const auto fail = [](const std::string& text) {
        return [text](int) { return Reason{ReasonCode::kBusy, "x", text}; };
    };
    const struct {
        Work work;
        ReasonCode code;
        std::string text;
    } rows[] = {
        {fail("the disk is full"), ReasonCode::kBusy, "the disk is full"},
        {fail(std::string(5000, 'x')), ReasonCode::kBusy, std::string(1000, 'x')},
        {[](int) { return raise(SIGKILL), Result<void>(); }, ReasonCode::kSystem,
         "its process was killed"},
        {[](int) -> Result<void> { throw 1; }, ReasonCode::kSystem, "its process was killed"},
    };
    for (const auto& [work, code, text] : rows) {
        const Result<void> done = RunLong(work);
        ASSERT_FALSE(done);
        EXPECT_EQ(done.reason().code, code);
        EXPECT_EQ(done.reason().about.text(), "alice");
        EXPECT_EQ(done.reason().text, "script of alice: " + text);
    }
}

TEST_F(UserChild, IsWaitedForWithoutItsDescriptorAndWhereChildrenAreIgnored)
{
    const NoMoreDescriptors limit;
    const auto before = signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(RunLong([](int) { return usleep(30000), Result<void>(); }));
    EXPECT_FALSE(Run(milliseconds(50), Stop));
    (void)signal(SIGCHLD, before);
}

TEST_F(UserChild, IsLeftBehindWhenItCannotEvenBeKilled)
{
    void* shared =
        mmap(nullptr, sizeof(pid_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    pid_t& tracer = *static_cast<pid_t*>(shared);
    Result<void> done = Reason();
    // A busy machine may take longer to start the tracer than the child may live.
    for (milliseconds limit(200); !done && tracer == 0; limit *= 2) {
        done = Run(limit, [&](int) {
            tracer = StartTracer();
            return tracer == 0 ? Result<void>() : WaitForEver();
        });
    }
    if (done) GTEST_SKIP() << "nothing can be traced here";

    EXPECT_NE(done.reason().text.find("cannot even be killed"), std::string::npos);
    (void)kill(tracer, SIGKILL);
    (void)munmap(shared, sizeof(pid_t));
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}
