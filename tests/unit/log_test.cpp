// Lines of the system log.
#include "frame/log.h"

#include <gtest/gtest.h>

#include "tests/recording/action_test.h"

using Log = recording::RecordedTest;

TEST_F(Log, IsOneLineWithNameNumberAndTheTextAsItStands)
{
    LogError(1145, "mkdir %s fail", "/tmp/100%s%n");
    world.ExpectLog(1145, "mkdir /tmp/100%s%n fail");

    const std::string longText(5000, 'x');
    LogError(7, "%s", longText.c_str());
    world.ExpectLog(7, longText);

    const int line = __LINE__ + 1;
    LogError(Here(), "halderr=[0x%04X]", 0xd);
    world.ExpectLog(line, "halderr=[0x000D]");
}
