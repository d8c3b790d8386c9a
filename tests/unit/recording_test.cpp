// The recording platform itself: what it must not let pass.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <cstdarg>

#include "platform/hlib/string_list.h"
#include "platform/web/server_form_handler.h"
#include "tests/recording/action_test.h"

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
