// Results: a value or a reason, and what a border logs.
#include "host/libhaldcore/result.h"

#include <cerrno>

#include "tests/host/machine.h"

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;

using Results = Machine;

TEST_F(Results, AreLoggedOnceAtTheBorderCausesFirst)
{
    EXPECT_EQ(host::Status(Result<void>()), 0);
    EXPECT_EQ(host::Status(Result<int>(3)), 3);
    EXPECT_TRUE(Logged().empty());

    Reason lines{ReasonCode::kRefused, "list", ""};
    lines.causes = {{ReasonCode::kRefused, "line 1", "one"}, {ReasonCode::kRefused, "", "two"}};
    Reason whole = std::move(lines).Causing("rule set 'x'", "is refused");
    EXPECT_EQ(whole.code, ReasonCode::kRefused);
    EXPECT_EQ(host::Status(Result<int>(std::move(whole).Prefixed("spam: "))), -1);
    ASSERT_EQ(Logged().size(), 3U) << "a reason without words of its own has no line";
    EXPECT_TRUE(WasLogged("one") && WasLogged("two"));
    EXPECT_NE(Logged().back().find("spam: is refused"), std::string::npos);
}

TEST_F(Results, TellWhatTheSystemSaid)
{
    const std::pair<int, ReasonCode> rows[] = {{ENOENT, ReasonCode::kMissing},
                                               {EEXIST, ReasonCode::kTaken},
                                               {EACCES, ReasonCode::kUnreadable},
                                               {EBUSY, ReasonCode::kBusy},
                                               {ENOSPC, ReasonCode::kNoSpace}};
    for (const auto& [error, code] : rows) {
        errno = error;
        EXPECT_EQ(host::SystemReason("f", "cannot write f").code, code) << error;
    }
    EXPECT_EQ(host::SystemReason("f", "cannot write f").text,
              "cannot write f: No space left on device");
}

}  // namespace
