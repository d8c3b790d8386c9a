// The recording platform itself: what it must not let pass.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "platform/hlib/string_list.h"
#include "platform/mailvane/access.h"
#include "platform/web/server_form_handler.h"
#include "tests/recording/action_test.h"

using recording::Lines;
using recording::TheWorld;

namespace {

class Recording : public recording::RecordedTest {};

__attribute__((format(printf, 2, 3))) void LogThrough(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

class Handler : public ServerFormHandler {
public:
    Handler() : ServerFormHandler(false, nullptr) {}
    void Run() override {}
    void PreHook() override {}
    void PostHook() override {}
};

}  // namespace

TEST_F(Recording, FailsATestThatLeavesSomethingBehind)
{
    syslog(LOG_ERR, "mailvane:%d odd", 1);
    EXPECT_NONFATAL_FAILURE(TheWorld().ExpectNothingLeft(), "unexpected log line: mailvane:1 odd");
    world.Reset();

    world.Fail("Postfix::LoadSetting");  // no operation has this name
    EXPECT_NONFATAL_FAILURE(TheWorld().ExpectNothingLeft(), "no call met the script");
    world.Reset();

    HLIBCSzList* list = HLIBCSzListAlloc(1);
    EXPECT_NONFATAL_FAILURE(TheWorld().ExpectNothingLeft(), "not freed");
    HLIBCSzListFree(list);

    Handler handler;
    handler.ExLock();
    EXPECT_NONFATAL_FAILURE(TheWorld().ExpectNothingLeft(), "request lock");
    world.Reset();
}

TEST_F(Recording, TakesEveryFormOfALogLineWithItsPriority)
{
    syslog(LOG_ERR, "mailvane:%d %s", 5, "plain");
    LogThrough(LOG_WARNING, "mailvane:%d %s", 6, "other");
    world.ExpectLog(5, "plain");
    EXPECT_EQ(world.TakeLog(), "<4> mailvane:6 other");
    EXPECT_NONFATAL_FAILURE(TheWorld().ExpectLog("missing"), "got log line \"\"");
}

TEST_F(Recording, ScriptsTheNthOfTheCallsThatMatch)
{
    world.Return("Access::GenerateAccessMap", -4, 2);
    world.Return("Access::GenerateAccessMap", -3, 3);
    EXPECT_EQ(Access::GenerateAccessMap(), 0);
    EXPECT_EQ(Access::GenerateAccessMap(), -4);
    EXPECT_EQ(Access::GenerateAccessMap(), -3);
    EXPECT_EQ(Access::GenerateAccessMap(), 0);
}

TEST_F(Recording, KeepsDirectoriesAndFilesInMemory)
{
    EXPECT_EQ(mkdir("/recorded", 0700), 0);
    EXPECT_EQ(access("/recorded", F_OK), -1) << "really made";
    EXPECT_EQ(mkdir("/recorded", 0700), -1);
    EXPECT_EQ(errno, EEXIST);

    world.files["/tmp/recorded"] = "bytes";
    EXPECT_EQ(rename("/tmp/recorded", "/tmp/renamed"), 0);
    EXPECT_EQ(unlink("/tmp/renamed"), 0);
    EXPECT_EQ(unlink("/tmp/renamed"), -1);
    EXPECT_EQ(world.Calls(), Lines({"mkdir /recorded 0700", "mkdir /recorded 0700",
                                    "rename /tmp/recorded /tmp/renamed", "unlink /tmp/renamed",
                                    "unlink /tmp/renamed"}));

    // A template that the library refuses keeps its name; a good one becomes a real file.
    char refused[] = "/tmp/mailvane.importxxxxxx";
    EXPECT_EQ(mkstemp(refused), -1);
    EXPECT_STREQ(refused, "/tmp/mailvane.importxxxxxx");
    char name[] = "/tmp/mailvane.test.XXXXXX";
    const int descriptor = mkstemp(name);
    ASSERT_GE(descriptor, 0);
    close(descriptor);
    EXPECT_EQ(access(name, F_OK), 0);
    EXPECT_EQ(unlink(name), 0);
    EXPECT_NE(world.Calls().find("unlink /tmp/mailvane.test.XXXXXX\n"), std::string::npos);
}
