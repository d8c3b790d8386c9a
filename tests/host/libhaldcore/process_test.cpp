// Process operations as the program sees them.
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "host/libhaldcore/lock.h"
#include "platform/hlib/process.h"
#include "tests/host/machine.h"

namespace {

class Processes : public Machine {
protected:
    static bool Alive(const std::string& text)
    {
        Write("/run/x.pid", text);
        return HLIBCProcAliveByPidFile("/run/x.pid") != 0;
    }
};

TEST_F(Processes, ExecPassesArgumentsUpToTheFirstNull)
{
    Write("/bin/note", "#!/bin/sh\nprintf '%s|' \"$@\" >" + root + "/args\nexit \"$1\"\n", 0755);
    EXPECT_EQ(0, HLIBCExec("/bin/note", "0", "a b", "", nullptr));
    EXPECT_EQ("0|a b||", Contents(root + "/args"));
    EXPECT_EQ(0, HLIBCExec("/bin/note", "0", nullptr, "lost", "lost"));
    EXPECT_EQ("0|", Contents(root + "/args"));
    EXPECT_EQ(-1, HLIBCExec("/bin/note", "7", nullptr, nullptr, nullptr));
    EXPECT_EQ(-1, HLIBCExec("/bin/none", nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Processes, ExecRefusesWhatClimbsUp)
{
    Write("/bin/note", "#!/bin/sh\ntouch " + root + "/ran\n", 0755);
    for (const char* argument : {"..", "/rules/../../etc/passwd", "../x"}) {
        EXPECT_EQ(-1, HLIBCExec("/bin/note", "x", argument, nullptr, nullptr)) << argument;
    }
    EXPECT_EQ(-1, HLIBCExec("/bin/../bin/note", nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ("(none)", Contents(root + "/ran"));
    EXPECT_EQ(0, HLIBCExec("/bin/note", "a..b", "...", nullptr, nullptr));
}

TEST_F(Processes, ForkedChildHoldsNothingOfItsParent)
{
    ASSERT_EQ(host::LockResult::kHeld, host::TakeLock(std::chrono::milliseconds(0)));
    const int child = HLIBCProcFork();
    if (child == 0) {
        struct stat null;
        struct stat stream;
        int status = getsid(0) == getpid() && !host::LockIsHeld() ? 0 : 1;
        (void)stat("/dev/null", &null);
        for (int number = 0; number < 3; ++number) {
            if (fstat(number, &stream) < 0 || stream.st_rdev != null.st_rdev) status = 2;
        }
        if (host::TakeLock(std::chrono::milliseconds(0)) != host::LockResult::kBusy) status = 3;
        _exit(status);
    }
    ASSERT_LT(0, child);
    EXPECT_EQ(0, StatusOf(child));
    EXPECT_TRUE(host::LockIsHeld()) << "the parent keeps it";
}

TEST_F(Processes, AreAliveByTheirPidFile)
{
    prctl(PR_SET_NAME, ") Z (x");  // a name must not pass for a state
    EXPECT_TRUE(Alive("  " + std::to_string(getpid()) + " \n")) << "padded, as mail servers do";
    const timespec before[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, (root + "/run/x.pid").c_str(), before, 0));
    EXPECT_EQ(0, HLIBCProcAliveByPidFile("/run/x.pid")) << "the number was given anew";
    const std::string namesake = std::string("/run/") + program_invocation_short_name + ".pid";
    Write(namesake, std::to_string(getpid()));
    ASSERT_EQ(0, utimensat(AT_FDCWD, (root + namesake).c_str(), before, 0));
    EXPECT_NE(0, HLIBCProcAliveByPidFile(namesake.c_str())) << "the clock was set forward";
    for (const char* text : {"", "x", "0", "-1", "999999999", "99999999999999999999"}) {
        EXPECT_FALSE(Alive(text)) << text;
    }

    const pid_t zombie = InChild([] { return 0; });
    siginfo_t info;
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT));
    EXPECT_FALSE(Alive(std::to_string(zombie)));
    StatusOf(zombie);
}

}  // namespace
