// The plan of a save.
#include "host/libmailvane/save/plan.h"

#include <algorithm>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "platform/firewall/firewall.h"
#include "platform/mailvane/postfix.h"

namespace host::save {

namespace {

using Step = int (*)(const std::string&);

bool Calls(const std::list<Callback>& steps, Step service)
{
    return std::any_of(steps.begin(), steps.end(),
                       [service](const Callback& step) { return step.func == service; });
}

const char kFirewallStep[] = "hup firewall";

int ReloadFirewall(const std::string& /*unused*/)
{
    return HALDFwRuleHup();
}

/// Whether the plan has a step of this service. The filters for DKIM and DMARC never count as
/// called: a page's step is for signing or for checking alone, and the filter may serve both.
bool Calls(const std::list<Callback>& plan, const daemons::Daemon& daemon)
{
    return Calls(plan, daemons::ServiceStep(daemon, "").func);
}

/// Whether a daemon's process runs. Those of a machine that is not handed over are none of ours.
bool IsRunning(const daemons::Daemon& daemon)
{
    return !daemons::ServicesAreOurs() ||
           !daemons::DaemonProcess(std::string(daemon.pidFile), std::string(daemon.program))
                .empty();
}

/// Whether one of the files that a daemon reads differs from the generation in force.
bool FilesChanged(const daemons::Daemon& daemon, const generation::NextGeneration& next)
{
    std::string_view files = daemon.files;
    while (!files.empty()) {
        if (next.Changed(std::string(daemons::NextWord(files)))) return true;
    }
    return false;
}

/// Whether a change affects a daemon: it comes or goes, reads what has changed, or has died.
/// Postfix and Dovecot count even when switched off: a restart checks the switch itself.
bool Affects(const daemons::Daemon& daemon, const generation::NextGeneration& next,
             const settings::StoredSettings& stored, const settings::StoredSettings& wanted)
{
    const bool ran = daemons::Runs(daemon, stored);
    const bool runs = daemons::Runs(daemon, wanted);
    if (runs && !IsRunning(daemon)) return true;
    if (daemon.files.empty()) return false;

    const bool changed = FilesChanged(daemon, next);
    return ran != runs || (changed && (runs || !daemons::IsCalledByMailServer(daemon)));
}

/// Whether the service of a step is one of these.
bool IsOneOf(const std::set<std::string_view>& services, const Callback& step)
{
    return std::any_of(std::begin(daemons::kDaemons), std::end(daemons::kDaemons),
                       [&](const daemons::Daemon& daemon) {
                           return daemon.label == step.name && services.count(daemon.service) > 0;
                       });
}

/// What a failure of a step is about. What is no step of a daemon tells of its own failures.
Subject SubjectOf(const Callback& step)
{
    const auto* daemon =
        std::find_if(std::begin(daemons::kDaemons), std::end(daemons::kDaemons),
                     [&step](const daemons::Daemon& one) { return one.label == step.name; });
    return daemon == std::end(daemons::kDaemons) ? step.name : Subject::Service(*daemon);
}

}  // namespace

bool IsServiceStep(const Callback& step)
{
    return step.arg == "start" || step.arg == "stop" || step.arg == "restart";
}

bool IsMailServerStep(const Callback& step)
{
    return step.func == &Postfix::Service;
}

Result<void> RunStep(const Callback& step)
{
    const std::string title = "step " + step.name + " " + step.arg;
    if (step.func(step.arg) >= 0) {
        Log(LOG_INFO, "%s: done", title.c_str());
        return {};
    }
    return Reason{IsServiceStep(step) ? ReasonCode::kDaemonIsDown : ReasonCode::kSystem,
                  SubjectOf(step), title + ": failed"};
}

AffectedServices BothServers()
{
    AffectedServices affected;
    affected.services = {daemons::kPostfix.service, daemons::kDovecot.service};
    return affected;
}

bool HasFirewallStep(const std::list<Callback>& steps)
{
    return std::any_of(steps.begin(), steps.end(),
                       [](const Callback& step) { return step.name == kFirewallStep; });
}

std::list<Callback> WholePlan(const std::list<Callback>& steps, const AffectedServices& affected)
{
    const Callback mailServerStep = daemons::ServiceStep(daemons::kPostfix, "restart");
    std::list<Callback> plan = steps;
    for (Callback& step : plan) {
        if (step.arg == "stop" && IsOneOf(affected.wanted, step)) step.arg = "restart";
    }
    const auto isMissing = [&plan, &affected](const daemons::Daemon& daemon) {
        return affected.services.count(daemon.service) > 0 && !Calls(plan, daemon);
    };
    if (isMissing(daemons::kDovecot))
        plan.push_back(daemons::ServiceStep(daemons::kDovecot, "restart"));
    if (isMissing(daemons::kPostfix)) plan.push_back(mailServerStep);
    const auto mailServer = std::find_if(plan.begin(), plan.end(), IsMailServerStep);
    for (const daemons::Daemon& daemon : daemons::kDaemons) {
        if (daemons::IsCalledByMailServer(daemon) && isMissing(daemon)) {
            plan.insert(mailServer, daemons::ServiceStep(daemon, "restart"));
        }
    }
    // The mail server restarts first, so that it hands no mail to a filter that is about to stop.
    if (affected.milterEnds) plan.push_front(mailServerStep);
    std::list<Callback> coming;
    for (auto step = plan.begin(); step != plan.end();) {
        const auto next = std::next(step);
        if (IsOneOf(affected.coming, *step)) coming.splice(coming.end(), plan, step);
        step = next;
    }
    plan.splice(plan.begin(), coming);
    if (affected.firewall && !HasFirewallStep(plan)) {
        plan.push_back({kFirewallStep, &ReloadFirewall, ""});
    }
    return plan;
}

AffectedServices ServicesAffectedBy(const generation::NextGeneration& next,
                                    const settings::StoredSettings& wanted)
{
    const Result<settings::StoredSettings> read = settings::StoredSettings::Read();
    const settings::StoredSettings& stored = Succeeded(read) ? *read : wanted;
    AffectedServices affected;
    for (const daemons::Daemon& daemon : daemons::kDaemons) {
        // The others are not started by saves.
        if (daemons::ServiceStep(daemon, "restart").func == nullptr) continue;

        if (Affects(daemon, next, stored, wanted)) affected.services.insert(daemon.service);
        if (daemons::Runs(daemon, wanted)) affected.wanted.insert(daemon.service);
        const bool isCalled = daemons::Runs(daemon, stored);
        const bool isToBeCalled = daemons::Runs(daemon, wanted);
        if (!daemons::IsMilter(daemon) || isCalled == isToBeCalled) continue;
        if (isCalled) affected.milterEnds = true;
        if (isToBeCalled) affected.coming.insert(daemon.service);
    }
    affected.firewall = settings::EnabledPorts(stored) != settings::EnabledPorts(wanted);
    return affected;
}

}  // namespace host::save
