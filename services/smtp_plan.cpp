// What a save of the SMTP page has to restart, start, stop or rebuild.
#include "services/smtp_plan.h"

#include "frame/save_steps.h"

namespace {

const char* PostfixVerb(const SmtpState& stored, const SmtpState& wanted)
{
    if (stored.smtpEnabled && !wanted.smtpEnabled) return "stop";
    if (!stored.smtpEnabled && wanted.smtpEnabled) return "start";
    // Also when it stays off: the restart of a server that is switched off stops it.
    return "restart";
}

}  // namespace

std::list<Callback> PlanSmtpSave(const SmtpState& stored, const SmtpState& wanted)
{
    const bool accountsChange =
        stored.accountType != wanted.accountType || stored.domain != wanted.domain;
    const bool restrictionStarts = !stored.restrictSender && wanted.restrictSender;
    const bool hostnameChanges = stored.hostname != wanted.hostname;
    const bool portsChange = stored.smtpPort != wanted.smtpPort ||
                             stored.smtpsPort != wanted.smtpsPort ||
                             stored.tlsPort != wanted.tlsPort;

    std::list<Callback> plan;
    if (accountsChange) plan.push_back(DovecotStep("restart"));
    if (accountsChange) plan.push_back(MapsStep());
    if (accountsChange || restrictionStarts) plan.push_back(LoginMapStep());
    plan.push_back(PostfixStep(PostfixVerb(stored, wanted)));
    if (hostnameChanges && stored.dkimEnabled) plan.push_back(DkimStep("restart"));
    if (hostnameChanges && stored.dmarcEnabled) plan.push_back(DmarcStep("restart"));
    if (portsChange) plan.push_back(FirewallStep());
    return plan;
}
