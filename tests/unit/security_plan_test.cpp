// What a save of the security page restarts, starts, stops or queues again.
#include "services/security_plan.h"

#include <gtest/gtest.h>

#include "tests/recording/world.h"

namespace {

using State = SecurityState;
using Switches = std::vector<bool State::*>;

const Switches kScanner = {&State::antiVirus, &State::spam, &State::dangerousContent};
const Switches kAll = {&State::antiVirus, &State::dkim, &State::dmarc,      &State::rejectOverRate,
                       &State::dnsbl,     &State::spf,  &State::spfSoftFail};

State With(const Switches& switches, int rateLimit = 0)
{
    State state;
    for (bool State::*const which : switches) state.*which = true;
    state.rateLimit = rateLimit;
    return state;
}

std::string Plan(const State& stored, const State& wanted)
{
    return recording::PlanText(PlanSecuritySave(stored, wanted));
}

const std::string kServer = "postfix service:restart";

}  // namespace

TEST(SecurityPlan, TakesTheScannerFromAnySwitchesToAnyOthers)
{
    for (unsigned int pair = 0; pair < 64; ++pair) {
        SCOPED_TRACE(pair);
        State stored;
        State wanted;
        for (unsigned int i = 0; i < 3; ++i) {
            stored.*kScanner[i] = (pair >> i & 1U) != 0;
            wanted.*kScanner[i] = (pair >> (i + 3) & 1U) != 0;
        }
        std::string verb = "restart";  // off and staying off too
        if (pair % 8 == 0 && pair / 8 != 0) verb = "start";
        if (pair % 8 != 0 && pair / 8 == 0) verb = "stop";
        EXPECT_EQ(ScannerVerb(stored, wanted), verb);

        std::string plan = "mailscanner service:" + verb;
        if (!stored.antiVirus && wanted.antiVirus) plan += ", anti-virus service:start";
        if (stored.antiVirus && !wanted.antiVirus) plan += ", anti-virus service:stop";
        EXPECT_EQ(recording::PlanText(PlanScannerSave(stored, wanted)), plan);
    }
}

TEST(SecurityPlan, HoldsTheStepsOfTheServerInOrder)
{
    const State spam = With({&State::spam});
    const State rejecting = With({&State::rejectOverRate});
    EXPECT_EQ(Plan(With(kAll, 5), With(kAll, 5)), "dkim service:restart");
    EXPECT_EQ(Plan(rejecting, With({&State::rejectOverRate}, 1)),
              "memcache service:restart, " + kServer);
    EXPECT_EQ(Plan(With({}, 1), rejecting), "memcache service:start, " + kServer);

    EXPECT_EQ(Plan({}, spam), kServer);
    EXPECT_EQ(Plan(spam, With({&State::antiVirus})), "");
    EXPECT_EQ(Plan(spam, {}), kServer + ", requeue hold:");

    EXPECT_EQ(Plan({}, With(kAll)),
              "dkim service:start, dmarc service:start, memcache service:start, " + kServer);
    EXPECT_EQ(Plan(With(kAll, 1), {}),
              "dkim service:stop, dmarc service:stop, memcache service:stop, " + kServer +
                  ", requeue hold:");
}
