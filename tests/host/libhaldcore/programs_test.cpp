// Programs: how they are started, when their end is noticed, what becomes of their output.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "host/libhaldcore/run_program.h"
#include "platform/hlib/process.h"
#include "tests/host/machine.h"

namespace {

using host::ProgramOptions;
using host::ProgramResult;
using host::RunProgram;
using std::chrono::milliseconds;

const std::string kShell = "/bin/sh";

ProgramOptions Capture()
{
    ProgramOptions options;
    options.capture = true;
    return options;
}

class Programs : public Machine {};

TEST_F(Programs, StartInACleanWorld)
{
    const mode_t before = umask(077);
    setenv("LD_PRELOAD_NOT", "x", 1);
    const int leaked = open("/dev/null", O_RDONLY);  // no O_CLOEXEC
    signal(SIGPIPE, SIG_IGN);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_BLOCK, &term, nullptr);
    const ProgramResult result = RunProgram({LIBHALD_TOOL, root, "", "a b;$(c)"}, Capture());
    sigprocmask(SIG_UNBLOCK, &term, nullptr);
    signal(SIGPIPE, SIG_DFL);
    close(leaked);
    umask(before);

    EXPECT_EQ(
        "lock held\ndescriptors 0\nblocked 0 ignored 0\numask 022 directory /\ngroup own\n"
        "argument []\nargument [a b;$(c)]\n"
        "env PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\n"
        "env LANG=C.UTF-8\nenv HOME=" +
            std::string(geteuid() == 0 ? "/root\n" : "/\n"),
        result.output);
}

TEST_F(Programs, TellHowTheyEnded)
{
    const struct {
        std::vector<std::string> program;
        int want;
        const char* reason;
    } rows[] = {
        {{kShell, "-c", "exit 0", "SECRET"}, 0, ""},
        {{kShell, "-c", "exit 3", "SECRET"}, 3, "/bin/sh ended with status 3"},
        {{kShell, "-c", "kill -9 $$", "SECRET"}, -1, "/bin/sh was killed by signal 9"},
        {{"/none", "SECRET"}, -1, "/none could not be started: No such file or directory"},
        {{"sh", "-c", "exit 0"}, -1, "sh could not be started: Invalid argument"},
    };
    for (const auto& row : rows) {
        const ProgramResult result = RunProgram(row.program);
        EXPECT_EQ(row.want, result.status);
        EXPECT_EQ(row.reason, result.done ? "" : result.done.reason().text);
    }
    EXPECT_EQ(0U, Logged().size()) << "who asked for it logs it";
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(3, RunProgram({kShell, "-c", "exit 3"}).status) << "though children are ignored";
    signal(SIGCHLD, SIG_DFL);
}

TEST_F(Programs, AreNotWaitedForThroughTheirDaemons)
{
    const std::string daemon = RunProgram({kShell, "-c", "sleep 60 & echo $!"}, Capture()).output;
    ASSERT_LT(1, std::atoi(daemon.c_str())) << daemon;
    EXPECT_EQ(0, kill(std::atoi(daemon.c_str()), SIGKILL)) << "it lives on";
}

TEST_F(Programs, ThatTakeTooLongEndWithAllTheyStarted)
{
    ProgramOptions options = Capture();
    options.limit = milliseconds(1500);  // a busy machine may take one to start the shell
    const std::string script = "trap '' TERM; sleep 60 & echo $!; wait; sleep 60";
    const ProgramResult result = RunProgram({kShell, "-c", script}, options);
    EXPECT_EQ(-1, result.status);
    Write("/run/child.pid", result.output);
    for (int i = 0; i < 3000 && HLIBCProcAliveByPidFile("/run/child.pid") != 0; ++i) usleep(10000);
    EXPECT_LT(0, std::atoi(result.output.c_str()));
    EXPECT_EQ(0, HLIBCProcAliveByPidFile("/run/child.pid")) << "still there";
}

TEST_F(Programs, GetTheirInputAndGiveTheirOutputBack)
{
    ProgramOptions options = Capture();
    options.input = std::string(300000, 'x') + '\0' + "end\n";
    EXPECT_EQ(options.input, RunProgram({"/bin/cat"}, options).output);

    const std::string script = "head -c 3000000 /dev/zero && echo done >&2";
    const ProgramResult much = RunProgram({kShell, "-c", script}, Capture());
    EXPECT_EQ(1U << 20, much.output.size());
    EXPECT_EQ("done\n", much.errors) << "it was not stopped for its output";
}

TEST_F(Programs, LogTheirOutputUnderTheirName)
{
    const std::string script = "printf 'a\\tb\\033[1m\\nunfinished' >&2; seq 300; printf last";
    EXPECT_EQ("", RunProgram({kShell, "-c", script}).output);
    EXPECT_TRUE(WasLogged("mailvane: sh: a?b?[1m")) << "nothing forges a line";
    EXPECT_TRUE(WasLogged("sh: more output is not logged"));
    EXPECT_EQ(201U, Logged().size());
}

}  // namespace
