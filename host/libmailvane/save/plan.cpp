// The plan of a save.
#include "host/libmailvane/save/plan.h"

#include <algorithm>

#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/settings/derived_settings.h"
#include "platform/firewall/firewall.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
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

int DkimFilterService(const std::string& verb)
{
    return daemons::RunControlScript("opendkim.sh", verb);
}

int DmarcFilterService(const std::string& verb)
{
    return daemons::RunControlScript("opendmarc.sh", verb);
}

int ReloadFirewall(const std::string& /*unused*/)
{
    return HALDFwRuleHup();
}

/// Whether a change reaches a filter that ran before or runs now.
bool ReachesFilter(bool ran, bool runs, bool filesChanged)
{
    return ran != runs || (runs && filesChanged);
}

}  // namespace

Reached BothServers()
{
    Reached reached;
    reached.mailServer = true;
    reached.mailboxServer = true;
    return reached;
}

bool HasFirewallStep(const std::list<Callback>& steps)
{
    return std::any_of(steps.begin(), steps.end(),
                       [](const Callback& step) { return step.name == kFirewallStep; });
}

std::list<Callback> WholePlan(const std::list<Callback>& steps, const Reached& reached)
{
    std::list<Callback> plan = steps;
    if (reached.mailboxServer && !Calls(plan, &ImapPop3::Service)) {
        plan.push_back({"dovecot service", &ImapPop3::Service, "restart"});
    }
    const Callback mailServerStep{"postfix service", &Postfix::Service, "restart"};
    // No mail may be handed to a scanner that is about to end.
    if (reached.scannerEnds) plan.push_front(mailServerStep);
    if (reached.mailServer && !Calls(plan, &Postfix::Service)) plan.push_back(mailServerStep);
    const auto mailServer = std::find_if(plan.begin(), plan.end(), [](const Callback& step) {
        return step.func == &Postfix::Service;
    });
    if (reached.dkimFilter) plan.insert(mailServer, {"dkim filter", &DkimFilterService, "restart"});
    if (reached.dmarcFilter) {
        plan.insert(mailServer, {"dmarc filter", &DmarcFilterService, "restart"});
    }
    if (reached.scanner && !Calls(plan, &MailScanner::Service)) {
        plan.insert(mailServer, {"mailscanner service", &MailScanner::Service, "restart"});
    }
    if (reached.antiVirus && !Calls(plan, &MailScanner::AntiVirusService)) {
        plan.insert(mailServer, {"anti-virus service", &MailScanner::AntiVirusService, "restart"});
    }
    if (reached.firewall && !HasFirewallStep(plan)) {
        plan.push_back({kFirewallStep, &ReloadFirewall, ""});
    }
    return plan;
}

Reached ReachedBy(const generation::NextGeneration& next, const settings::StoredSettings& wanted)
{
    const Result<settings::StoredSettings> read = settings::StoredSettings::Read();
    const settings::StoredSettings& stored = Succeeded(read) ? *read : wanted;
    const bool certificate = next.Changed("tls/");
    Reached reached;
    reached.mailServer = next.Changed("postfix/") || certificate;
    reached.mailboxServer =
        next.Changed("dovecot/") || certificate ||
        settings::MailboxServerRuns(stored) != settings::MailboxServerRuns(wanted);
    reached.dkimFilter = ReachesFilter(render::DkimFilterRuns(stored),
                                       render::DkimFilterRuns(wanted), next.Changed("opendkim/"));
    reached.dmarcFilter =
        ReachesFilter(render::DmarcFilterRuns(stored), render::DmarcFilterRuns(wanted),
                      next.Changed("opendmarc/"));
    reached.scanner = ReachesFilter(render::ScannerRuns(stored), render::ScannerRuns(wanted),
                                    next.Changed("amavis/"));
    reached.scannerEnds = render::ScannerRuns(stored) && !render::ScannerRuns(wanted);
    reached.antiVirus = ReachesFilter(render::AntiVirusRuns(stored), render::AntiVirusRuns(wanted),
                                      next.Changed("clamav/clamd.conf"));
    reached.firewall = settings::EnabledPorts(stored) != settings::EnabledPorts(wanted);
    return reached;
}

}  // namespace host::save
