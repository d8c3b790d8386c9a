// The supervisor of daemons, on daemons with bad manners.
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/host/machine.h"
#include "tools/hald_service/supervisor.h"

namespace {

using host::daemons::Daemon;
using host::daemons::Launch;
using service::Stored;
using service::Supervisor;

constexpr char kPidFile[] = "/run/mailvane/fake.pid";
constexpr std::chrono::milliseconds kShort{100};
constexpr char kSocket[] = "/run/mailvane/fake/socket";

/// A machine with one more daemon. Nothing but its row says what it is.
class Supervision : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        (void)prctl(PR_SET_CHILD_SUBREAPER, 1);
        std::filesystem::create_directories(root + "/run");
        std::filesystem::create_directory_symlink("/proc", root + "/proc");
        Write("/var/packages/Mailvane/etc/mailvane.conf",
              "enable_fake=\"yes\"\nfake_limit=\"1\"\n");
        Write("/var/packages/Mailvane/etc/generated/current/fake/fake.conf", "first");
        user = getpwuid(geteuid())->pw_name;
        Become("good");
    }

    void TearDown() override
    {
        for (const pid_t process : started) (void)kill(-process, SIGKILL);
        Machine::TearDown();
    }

    /// Gives the daemon its ways.
    void Become(const std::string& ways)
    {
        command = std::string(MAILVANE_FAKE_DAEMON) + " " + ways + " " + host::Path(kPidFile) +
                  " " + host::Path(kSocket);
        row.command = command;
        row.user = row.group = user;
        stored = Stored::Read();
        fake = service::SupervisorOf(row, stored);
    }

    bool BringUp()
    {
        const bool isUp = fake->BringUp();
        if (fake->Master() != 0) started.push_back(fake->Master());
        return isUp;
    }

    std::string user;
    std::string command;
    Daemon row{"fake",
               "fake",
               "enable_fake",
               MAILVANE_FAKE_DAEMON,
               "",
               Launch::kForks,
               false,
               "",
               "",
               kPidFile,
               "",
               kSocket,
               "fake.service",
               "",
               "fake/",
               "fake_limit",
               "fake service",
               ""};
    Stored stored = Stored::Read();
    std::unique_ptr<Supervisor> fake;
    std::vector<pid_t> started;
};

TEST_F(Supervision, BringsUpAndEndsDaemonsOfManyManners)
{
    for (const char* ways : {"good", "slow", "twice", "follows", "helped", "follows,helped"}) {
        Become(ways);
        // A helper that nobody tells to end gets no more time than that.
        if (std::string(ways).find("helped") != std::string::npos) fake->limits.stop = kShort;
        ASSERT_TRUE(BringUp()) << ways;
        const pid_t master = fake->Master();
        EXPECT_TRUE(fake->IsUp()) << ways;
        EXPECT_TRUE(BringUp()) << ways;
        EXPECT_EQ(fake->Master(), master) << ways << ": was started again";
        const auto processes = service::ProcessSet::Of(master);
        EXPECT_TRUE(fake->TakeDown()) << ways;
        EXPECT_TRUE(processes.AreGone()) << ways << ": something is left";
        EXPECT_TRUE(fake->TakeDown()) << ways << ": the second time";
    }
}

TEST_F(Supervision, KillsWhatDoesNotEnd)
{
    for (const char* ways : {"deaf", "follows,deaf", "deaf,helped"}) {
        Become(ways);
        fake->limits.stop = kShort;
        ASSERT_TRUE(BringUp()) << ways;
        const auto processes = service::ProcessSet::Of(fake->Master());
        EXPECT_TRUE(fake->TakeDown()) << ways;
        EXPECT_TRUE(processes.AreGone()) << ways;
    }
}

TEST_F(Supervision, EndsWhatOutlivedItsDaemonBeforeANewOneStarts)
{
    Become("helped");
    ASSERT_TRUE(BringUp());
    const pid_t master = fake->Master();
    const auto processes = service::ProcessSet::Of(master);
    ASSERT_EQ(processes.Running().size(), 2U);
    (void)kill(master, SIGKILL);
    ASSERT_EQ(waitpid(master, nullptr, 0), master);
    EXPECT_EQ(service::ProcessSet::Of(master).Running().size(), 1U);
    ASSERT_TRUE(BringUp());
    EXPECT_TRUE(processes.AreGone());
    fake->limits.stop = kShort;
    EXPECT_TRUE(fake->TakeDown());
}

TEST_F(Supervision, DoesNotWaitForADaemonThatHasDied)
{
    Become("dies");
    fake->limits.start = std::chrono::hours(1);
    EXPECT_FALSE(BringUp());
    Become("refuses");
    EXPECT_FALSE(BringUp());
    EXPECT_EQ(Contents("/run/mailvane/fake.messages"), "it refuses\n");
}

TEST_F(Supervision, LeavesAStrangerAloneWhoHasTheNumber)
{
    const pid_t stranger = InChild([] {
        (void)pause();
        return 0;
    });
    Write(kPidFile, std::to_string(stranger) + "\n");
    EXPECT_EQ(fake->Master(), 0);
    EXPECT_TRUE(fake->TakeDown());
    EXPECT_EQ(kill(stranger, 0), 0);
    EXPECT_TRUE(BringUp());
    EXPECT_TRUE(fake->TakeDown());
    (void)kill(stranger, SIGKILL);
    (void)StatusOf(stranger);
}

TEST_F(Supervision, StartsAfreshWhenWhatItReadsHasChanged)
{
    ASSERT_TRUE(BringUp());
    const pid_t first = fake->Master();
    Write("/var/packages/Mailvane/etc/generated/current/fake/fake.conf", "second");
    ASSERT_TRUE(BringUp());
    const pid_t second = fake->Master();
    EXPECT_NE(first, second);
    Write("/var/packages/Mailvane/etc/mailvane.conf", "enable_fake=\"no\"\nfake_limit=\"2\"\n");
    Become("good");
    EXPECT_FALSE(fake->IsWanted());
    ASSERT_TRUE(BringUp());
    EXPECT_NE(fake->Master(), second);
    EXPECT_TRUE(fake->TakeDown());
}

TEST_F(Supervision, GivesADaemonNothingOfItsCaller)
{
    (void)setenv("MAILVANE_LOCK_FD", "3", 1);
    ASSERT_TRUE(BringUp());
    (void)unsetenv("MAILVANE_LOCK_FD");
    EXPECT_EQ(Contents(std::string(kPidFile) + ".told"), "PATH LC_ALL HOME 0 1 2 ");
    EXPECT_TRUE(fake->TakeDown());
}

}  // namespace
