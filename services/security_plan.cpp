// What a save of the security page has to restart, start or stop.
#include "services/security_plan.h"

#include "frame/save_steps.h"

namespace {

bool ScannerIsOn(const SecurityState& state)
{
    return state.antiVirus || state.spam || state.dangerousContent;
}

const char* SwitchVerb(bool on)
{
    return on ? "start" : "stop";
}

/// Whether a setting changed that is part of the SMTP server's own configuration.
bool ServerReadsAnother(const SecurityState& stored, const SecurityState& wanted)
{
    return stored.dnsbl != wanted.dnsbl || stored.rejectOverRate != wanted.rejectOverRate ||
           stored.rateLimit != wanted.rateLimit || stored.spf != wanted.spf ||
           stored.spfSoftFail != wanted.spfSoftFail || stored.dkim != wanted.dkim ||
           stored.dmarc != wanted.dmarc;
}

void PlanSigner(std::list<Callback>& plan, bool stored, bool wanted)
{
    // Switched on or off: start or stop. Staying on: restarted by every save.
    if (stored != wanted) {
        plan.push_back(DkimStep(SwitchVerb(wanted)));
    } else if (wanted) {
        plan.push_back(DkimStep("restart"));
    }
}

void PlanRateLimit(std::list<Callback>& plan, const SecurityState& stored,
                   const SecurityState& wanted)
{
    if (stored.rejectOverRate != wanted.rejectOverRate) {
        plan.push_back(MemcachedStep(SwitchVerb(wanted.rejectOverRate)));
    } else if (stored.rateLimit != wanted.rateLimit) {
        plan.push_back(MemcachedStep("restart"));
    }
}

}  // namespace

std::string ScannerVerb(const SecurityState& stored, const SecurityState& wanted)
{
    if (!ScannerIsOn(stored) && ScannerIsOn(wanted)) return "start";
    if (ScannerIsOn(stored) && !ScannerIsOn(wanted)) return "stop";
    // Also when it stays off: the restart of a scanner that is switched off stops it.
    return "restart";
}

std::list<Callback> PlanScannerSave(const SecurityState& stored, const SecurityState& wanted)
{
    std::list<Callback> plan{ScannerStep(ScannerVerb(stored, wanted))};
    if (stored.antiVirus != wanted.antiVirus) {
        plan.push_back(AntiVirusStep(SwitchVerb(wanted.antiVirus)));
    }
    return plan;
}

std::list<Callback> PlanSecuritySave(const SecurityState& stored, const SecurityState& wanted)
{
    std::list<Callback> plan;
    PlanSigner(plan, stored.dkim, wanted.dkim);
    if (stored.dmarc != wanted.dmarc) plan.push_back(DmarcStep(SwitchVerb(wanted.dmarc)));
    PlanRateLimit(plan, stored, wanted);

    const std::string scanner = ScannerVerb(stored, wanted);
    if (scanner != "restart" || ServerReadsAnother(stored, wanted)) {
        plan.push_back(PostfixStep("restart"));
    }
    // Mail that waits for the stopped scanner is queued again without it.
    if (scanner == "stop") plan.push_back(RequeueStep());
    return plan;
}
