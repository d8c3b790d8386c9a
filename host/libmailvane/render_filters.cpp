// Texts of the filters' files: OpenDKIM, OpenDMARC and the SPF checker; how the rate policy runs.
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/list_maps.h"
#include "host/libmailvane/mail_domains.h"
#include "host/libmailvane/mail_filters.h"

namespace host {

namespace {

const char kHeader[] = "# Made by mailvane from its stored settings.\n";
const char kKeyName[] = "server";

/// Clients that are this machine itself: their mail is signed, and no policy applies to it. The
/// same that Postfix takes for its own, so that nobody's mail is signed who may not relay.
const char kThisMachine[] = "127.0.0.1\n::1\n";

using daemons::Daemon;
using daemons::kDkimFilter;
using daemons::kDmarcFilter;
using daemons::kScanner;
using daemons::kScannerMilter;

/// Daemons go through the link, so that the paths stay the same.
std::string InForce(const std::string& relative)
{
    return GeneratedDirectory() + "/current/" + relative;
}

/// One line of a configuration: name and value.
std::string Line(const std::string& name, const std::string& value)
{
    return name + " " + value + "\n";
}

/// How both filters run: under a user of their own, started again when they die.
std::string ProcessLines(const Daemon& filter)
{
    const std::string user(filter.user);
    std::string text = kHeader;
    text += Line("UserID", user + ":" + user);
    text += Line("UMask", "007");
    text += Line("Socket", "local:" + std::string(filter.socket));
    text += Line("PidFile", std::string(filter.pidFile));
    text += Line("AutoRestart", "yes");
    text += Line("AutoRestartRate", "10/1h");
    text += Line("Syslog", "yes");
    text += Line("SyslogFacility", "mail");
    return text;
}

std::string DkimFilterText(const StoredSettings& settings)
{
    std::string text = ProcessLines(kDkimFilter);
    text += Line("Mode", settings.Bool("enable_dkim") ? "sv" : "v");
    text += Line("Canonicalization", "relaxed/simple");
    text += Line("OversignHeaders", "From");
    text += Line("KeyTable", "file:" + InForce("opendkim/KeyTable"));
    text += Line("SigningTable", "refile:" + InForce("opendkim/SigningTable"));
    text += Line("InternalHosts", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("ExternalIgnoreList", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("AuthservID", settings.Text("smtp_hostname"));
    // What a failed signature means is for the domain's policy to say.
    text += Line("On-BadSignature", "accept");
    text += Line("ResolverConfiguration", InForce("opendkim/resolver.conf"));
    return text;
}

/// One key for all domains.
std::string KeyTableText(const StoredSettings& settings)
{
    // The domain of the sender stands for the percent sign.
    return std::string(kKeyName) + " %:" + settings.Text("dkim_selector") + ":" +
           PackagePath("etc/dkim.signer/dkim.private") + "\n";
}

std::string SigningTableText(const StoredSettings& settings)
{
    std::string text;
    for (const std::string& domain : MailDomains(settings)) {
        text += "*@" + domain + " " + kKeyName + "\n";
    }
    return text;
}

/// The filter's resolver by itself asks neither the machine's name servers nor one on this machine.
std::string ResolverText(const Surroundings& around)
{
    std::string text = kHeader;
    text += "server:\n    do-not-query-localhost: no\n";
    if (around.nameServers.empty()) return text;

    text += "forward-zone:\n    name: \".\"\n";
    for (const std::string& address : around.nameServers) {
        text += "    forward-addr: " + address + "\n";
    }
    return text;
}

std::string DmarcFilterText(const StoredSettings& settings)
{
    std::string text = ProcessLines(kDmarcFilter);
    text += Line("AuthservID", settings.Text("smtp_hostname"));
    text += Line("TrustedAuthservIDs", settings.Text("smtp_hostname"));
    text += Line("RejectFailures", "true");
    text += Line("IgnoreHosts", InForce("opendmarc/ignore.hosts"));
    text += Line("IgnoreAuthenticatedClients", "true");
    // A sender can write any result into the message's header.
    text += Line("SPFIgnoreResults", "true");
    text += Line("SPFSelfValidate", "true");
    text += Line("PublicSuffixList", "/usr/share/publicsuffix/public_suffix_list.dat");
    return text;
}

std::string SpfText(const StoredSettings& settings)
{
    std::string text = kHeader;
    text += "debugLevel = 1\n";
    text += "TestOnly = 1\n";  // despite its name, 1 makes it act
    text += "HELO_reject = Fail\n";
    text += std::string("Mail_From_reject = ") +
            (settings.Bool("reject_spf_soft_fail") ? "Softfail" : "Fail") + "\n";
    text += "PermError_reject = False\n";
    text += "TempError_Defer = False\n";
    text += "skip_addresses = 127.0.0.0/8,::ffff:127.0.0.0/104,::1\n";
    text += "Header_Type = SPF\n";
    return text;
}

std::string Filter(const Daemon& filter, const char* whenItFails)
{
    return "{ unix:" + std::string(filter.socket) + ", default_action=" + whenItFails + " }";
}

/// The scanner, while it runs. Mail that it cannot look at has to wait.
std::string Scanner(const StoredSettings& settings)
{
    return Runs(kScanner, settings) ? Filter(kScannerMilter, "tempfail") : "";
}

std::string Joined(std::initializer_list<std::string> filters)
{
    std::string text;
    for (const std::string& filter : filters) {
        if (!filter.empty()) text += (text.empty() ? "" : ", ") + filter;
    }
    return text;
}

}  // namespace

const char kAskSpf[] = "check_policy_service unix:private/policyd-spf";
const char kAskRatePolicy[] = "check_policy_service unix:private/rate-policy";

std::string SmtpFilters(const StoredSettings& settings)
{
    // Without the signer mail would leave unsigned, and what others have signed would look forged
    // to the DMARC checker: senders have to try again. The DMARC checker is less than the mail.
    return Joined({Runs(kDkimFilter, settings) ? Filter(kDkimFilter, "tempfail") : "",
                   Runs(kDmarcFilter, settings) ? Filter(kDmarcFilter, "accept") : "",
                   Scanner(settings)});
}

std::string SubmissionFilters(const StoredSettings& settings)
{
    return Joined({Scanner(settings), LocalMailFilters(settings)});
}

std::string LocalMailFilters(const StoredSettings& settings)
{
    return settings.Bool("enable_dkim") ? Filter(kDkimFilter, "tempfail") : "";
}

std::string SpfService(const StoredSettings& settings)
{
    if (!settings.Bool("enable_spf_check")) return "";

    return "policyd-spf unix - n n - 0 spawn\n"
           "  user=policyd-spf argv=/usr/bin/policyd-spf " +
           InForce("spf/policyd-spf.conf") + "\n";
}

std::string RatePolicyService(const StoredSettings& settings)
{
    if (!Runs(daemons::kMemcached, settings)) return "";

    return "rate-policy unix - n n - 0 spawn\n"
           "  user=mailvane-policy argv=" +
           PackagePath("target/bin/hald_rate_policy") + " " + InForce(kQuotaFile) + " " +
           std::string(daemons::kMemcached.socket) + " " +
           std::to_string(settings.Int("smtpd_sasl_sender_rate_limit")) + "\n";
}

void PutFilterFiles(NextGeneration& next, const StoredSettings& settings,
                    const Surroundings& around)
{
    next.Put("opendkim/opendkim.conf", DkimFilterText(settings), 0644);
    next.Put("opendkim/KeyTable", KeyTableText(settings), 0644);
    next.Put("opendkim/SigningTable", SigningTableText(settings), 0644);
    next.Put("opendkim/TrustedHosts", kThisMachine, 0644);
    next.Put("opendkim/resolver.conf", ResolverText(around), 0644);
    next.Put("opendmarc/opendmarc.conf", DmarcFilterText(settings), 0644);
    next.Put("opendmarc/ignore.hosts", kThisMachine, 0644);
    next.Put("spf/policyd-spf.conf", SpfText(settings), 0644);
}

}  // namespace host
