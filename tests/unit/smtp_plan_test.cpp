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

struct Row {
    const char* name;
    void (*change)(SmtpState& stored, SmtpState& wanted);
    const char* want;
};

const char kRestart[] = "postfix service:restart";
const char kAllAccountSteps[] =
    "dovecot service:restart, regenerate mailvane db setting:, generate login map:, "
    "postfix service:restart";

const Row kRows[] = {
    {"nothing changes", [](SmtpState&, SmtpState&) {}, kRestart},
    {"stopped", [](SmtpState&, SmtpState& w) { w.smtpEnabled = false; }, "postfix service:stop"},
    {"started", [](SmtpState& s, SmtpState&) { s.smtpEnabled = false; }, "postfix service:start"},
    {"stays off", [](SmtpState& s, SmtpState& w) { s.smtpEnabled = w.smtpEnabled = false; },
     kRestart},
    {"TLS switches alone do not count",
     [](SmtpState& s, SmtpState& w) {
         s.sslEnabled = true;
         w.tlsEnabled = true;
     },
     kRestart},

    {"account type", [](SmtpState&, SmtpState& w) { w.accountType = "ldap"; }, kAllAccountSteps},
    {"account domain", [](SmtpState&, SmtpState& w) { w.domain = "example.org"; },
     kAllAccountSteps},
    {"account domain grows", [](SmtpState&, SmtpState& w) { w.domain += "x"; }, kAllAccountSteps},
    {"account domain differs in case", [](SmtpState&, SmtpState& w) { w.domain = "Example.com"; },
     kAllAccountSteps},
    {"account domain goes", [](SmtpState&, SmtpState& w) { w.domain = ""; }, kAllAccountSteps},
    {"the same bytes, split elsewhere",
     [](SmtpState& s, SmtpState& w) {
         s.accountType = w.accountType + "e";
         s.domain = "xample.com";
     },
     kAllAccountSteps},
    {"account type of a stopped server",
     [](SmtpState& s, SmtpState& w) {
         s.smtpEnabled = w.smtpEnabled = false;
         w.accountType = "win";
     },
     kAllAccountSteps},

    {"restriction starts", [](SmtpState&, SmtpState& w) { w.restrictSender = true; },
     "generate login map:, postfix service:restart"},
    {"restriction ends", [](SmtpState& s, SmtpState&) { s.restrictSender = true; }, kRestart},
    {"restriction stays",
     [](SmtpState& s, SmtpState& w) { s.restrictSender = w.restrictSender = true; }, kRestart},
    {"restriction ends as the account changes",
     [](SmtpState& s, SmtpState& w) {
         s.restrictSender = true;
         w.accountType = "ldap";
     },
     kAllAccountSteps},
    {"restriction starts as the account changes",
     [](SmtpState&, SmtpState& w) {
         w.restrictSender = true;
         w.accountType = "ldap";
     },
     kAllAccountSteps},

    {"host name, neither signer nor checker",
     [](SmtpState&, SmtpState& w) { w.hostname = "mx.example.com"; }, kRestart},
    {"host name, signer",
     [](SmtpState& s, SmtpState& w) {
         w.hostname = "mx.example.com";
         s.dkimEnabled = true;
     },
     "postfix service:restart, dkim service:restart"},
    {"host name, checker",
     [](SmtpState& s, SmtpState& w) {
         w.hostname = "mx.example.com";
         s.dmarcEnabled = true;
     },
     "postfix service:restart, dmarc service:restart"},
    {"host name, the stored switches count",
     [](SmtpState&, SmtpState& w) {
         w.hostname = "mx.example.com";
         w.dkimEnabled = w.dmarcEnabled = true;
     },
     kRestart},
    {"signer and checker on, same host name",
     [](SmtpState& s, SmtpState&) { s.dkimEnabled = s.dmarcEnabled = true; }, kRestart},

    {"plain port", [](SmtpState&, SmtpState& w) { w.smtpPort = 2525; },
     "postfix service:restart, hup firewall:"},
    {"SSL port, switched off", [](SmtpState&, SmtpState& w) { w.smtpsPort = 4650; },
     "postfix service:restart, hup firewall:"},
    {"TLS port as the server stops",
     [](SmtpState&, SmtpState& w) {
         w.tlsPort = 0;
         w.smtpEnabled = false;
     },
     "postfix service:stop, hup firewall:"},
    {"all ports, one step",
     [](SmtpState&, SmtpState& w) { w.smtpPort = w.smtpsPort = w.tlsPort = 1; },
     "postfix service:restart, hup firewall:"},

    {"everything",
     [](SmtpState& s, SmtpState& w) {
         s.smtpEnabled = false;
         s.dkimEnabled = s.dmarcEnabled = true;
         w.accountType = "win";
         w.restrictSender = true;
         w.hostname = "mx.example.com";
         w.smtpPort = 26;
     },
     "dovecot service:restart, regenerate mailvane db setting:, generate login map:, "
     "postfix service:start, dkim service:restart, dmarc service:restart, hup firewall:"},
};

}  // namespace

TEST(SmtpPlan, HoldsTheStepsOfEachChangeInOrder)
{
    for (const Row& row : kRows) {
        SmtpState stored = RunningServer();
        SmtpState wanted = stored;
        row.change(stored, wanted);
        EXPECT_EQ(recording::PlanText(PlanSmtpSave(stored, wanted)), row.want) << row.name;
    }
}
