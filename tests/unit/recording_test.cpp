// The recording platform itself: what it must not let pass.
#include <gtest/gtest-spi.h>
#include <syslog.h>

#include "platform/hlib/string_list.h"
#include "platform/web/server_form_handler.h"
#include "tests/recording/action_test.h"

using recording::TheWorld;

namespace {

class Recording : public recording::RecordedTest {};

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
