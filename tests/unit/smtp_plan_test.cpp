// What a save of the SMTP page restarts, starts, stops or rebuilds.
#include "services/smtp_plan.h"

#include <gtest/gtest.h>

#include "tests/recording/world.h"

namespace {

SmtpState RunningServer()
{
    SmtpState state;
    state.smtpEnabled = true;
    state.smtpPort = 25;
    state.smtpsPort = 465;
    state.tlsPort = 587;
    state.accountType = "local";
    state.domain = "example.com";
    state.hostname = "mail.example.com";
    return state;
}

using S = SmtpState;

S With(const S& state)
{
    return state;
}

/// A state in which some members have other values: `With(state, &S::member, value, ...)`.
template <typename Member, typename Value, typename... More>
S With(const S& state, Member S::*member, Value value, More... more)
{
    S changed = With(state, more...);
    changed.*member = value;
    return changed;
}

/// The running server with such changes.
template <typename... Changes>
S Server(Changes... changes)
{
    return With(RunningServer(), changes...);
}

const S kServer = RunningServer();
const S kOff = Server(&S::smtpEnabled, false);
const S kLdap = Server(&S::accountType, "ldap");
const S kRenamed = Server(&S::hostname, "mx.example.com");
const S kRestricting = Server(&S::restrictSender, true);

const char kRestart[] = "postfix service:restart";
const char kAllAccountSteps[] =
    "dovecot service:restart, regenerate mailvane db setting:, generate login map:, "
    "postfix service:restart";

const struct {
    const char* name;
    S stored, wanted;
    const char* want;
} kRows[] = {
    {"nothing changes", kServer, kServer, kRestart},
    {"stopped", kServer, kOff, "postfix service:stop"},
    {"started", kOff, kServer, "postfix service:start"},
    {"stays off", kOff, kOff, kRestart},
    {"TLS switches alone do not count", Server(&S::sslEnabled, true), Server(&S::tlsEnabled, true),
     kRestart},

    {"account type", kServer, kLdap, kAllAccountSteps},
    {"account domain", kServer, Server(&S::domain, "example.org"), kAllAccountSteps},
    {"account domain grows", kServer, Server(&S::domain, "example.comx"), kAllAccountSteps},
    {"account domain differs in case", kServer, Server(&S::domain, "Example.com"),
     kAllAccountSteps},
    {"account domain goes", kServer, Server(&S::domain, ""), kAllAccountSteps},
    {"the same bytes, split elsewhere", Server(&S::accountType, "locale", &S::domain, "xample.com"),
     kServer, kAllAccountSteps},
    {"account type of a stopped server", kOff, With(kOff, &S::accountType, "win"),
     kAllAccountSteps},

    {"restriction starts", kServer, kRestricting, "generate login map:, postfix service:restart"},
    {"restriction ends", kRestricting, kServer, kRestart},
    {"restriction stays", kRestricting, kRestricting, kRestart},
    {"restriction ends as the account changes", kRestricting, kLdap, kAllAccountSteps},
    {"restriction starts as the account changes", kServer, With(kLdap, &S::restrictSender, true),
     kAllAccountSteps},

    {"host name, neither signer nor checker", kServer, kRenamed, kRestart},
    {"host name, signer", Server(&S::dkimEnabled, true), kRenamed,
     "postfix service:restart, dkim service:restart"},
    {"host name, checker", Server(&S::dmarcEnabled, true), kRenamed,
     "postfix service:restart, dmarc service:restart"},
    {"host name, the stored switches count", kServer,
     With(kRenamed, &S::dkimEnabled, true, &S::dmarcEnabled, true), kRestart},
    {"signer and checker on, same host name", Server(&S::dkimEnabled, true, &S::dmarcEnabled, true),
     kServer, kRestart},

    {"plain port", kServer, Server(&S::smtpPort, 2525), "postfix service:restart, hup firewall:"},
    {"SSL port, switched off", kServer, Server(&S::smtpsPort, 4650),
     "postfix service:restart, hup firewall:"},
    {"TLS port as the server stops", kServer, With(kOff, &S::tlsPort, 0),
     "postfix service:stop, hup firewall:"},
    {"all ports, one step", kServer, Server(&S::smtpPort, 1, &S::smtpsPort, 1, &S::tlsPort, 1),
     "postfix service:restart, hup firewall:"},

    {"everything", With(kOff, &S::dkimEnabled, true, &S::dmarcEnabled, true),
     With(kRenamed, &S::accountType, "win", &S::restrictSender, true, &S::smtpPort, 26),
     "dovecot service:restart, regenerate mailvane db setting:, generate login map:, "
     "postfix service:start, dkim service:restart, dmarc service:restart, hup firewall:"},
};

}  // namespace

TEST(SmtpPlan, HoldsTheStepsOfEachChangeInOrder)
{
    for (const auto& row : kRows) {
        EXPECT_EQ(recording::PlanText(PlanSmtpSave(row.stored, row.wanted)), row.want) << row.name;
    }
}
