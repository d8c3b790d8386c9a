// Texts of the filters' files: OpenDKIM, OpenDMARC and the SPF checker; how the rate policy runs.
#include "host/libmailvane/render/filters.h"

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/settings/derived_settings.h"

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

const char kHeader[] = "# Made by mailvane from its stored settings.\n";
const char kKeyName[] = "server";

/// Clients that are this machine itself: their mail is signed, and no policy applies to it. The
/// same that Postfix takes for its own, so that nobody's mail is signed who may not relay.
const char* const kThisMachine[] = {"127.0.0.1", "::1"};

const char kFromFilterSocket[] = "private/from-check";  // below the mail server's queue directory

using daemons::Daemon;
using daemons::kDkimFilter;
using daemons::kDmarcFilter;
using daemons::kScanner;
using daemons::kScannerMilter;

/// Daemons go through the link, so that the paths stay the same.
std::string InForce(const std::string& relative)
{
    return generation::GeneratedDirectory() + "/current/" + relative;
}

/// One line of a configuration: name and value.
std::string Line(const std::string& name, const std::string& value)
{
    return name + " " + value + "\n";
}

/// How both filters run: under a user of their own, started again at once when they die, unless
/// they die without end.
std::string ProcessLines(const daemons::Daemon& filter)
{
    const std::string user(filter.user);
    std::string text = kHeader;
    text += Line("UserID", user + ":" + user);
    text += Line("UMask", "007");
    text += Line("Socket", "local:" + std::string(filter.socket));
    text += Line("PidFile", std::string(filter.pidFile));
    text += Line("AutoRestart", "yes");
    text += Line("AutoRestartRate", "100/1m");
    text += Line("Syslog", "yes");
    text += Line("SyslogFacility", "mail");
    return text;
}

/// The addresses of this machine, each followed by the same.
std::string OwnAddresses(char separator)
{
    std::string text;
    for (const char* address : kThisMachine) text += address + std::string(1, separator);
    return text;
}

std::string DkimFilterText(const settings::StoredSettings& settings)
{
    std::string text = ProcessLines(daemons::kDkimFilter);
    const bool signs = settings.Bool("enable_dkim");
    text += Line("Mode", signs ? "sv" : "v");
    text += Line("Canonicalization", "relaxed/simple");
    text += Line("OversignHeaders", "From");
    // With these it would also look for the key, which need not be there, while it only verifies.
    if (signs) {
        text += Line("KeyTable", "file:" + InForce("opendkim/KeyTable"));
        text += Line("SigningTable", "refile:" + InForce("opendkim/SigningTable"));
    }
    text += Line("InternalHosts", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("ExternalIgnoreList", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("AuthservID", settings.Text("smtp_hostname"));
    // What a failed signature means is for the domain's policy to say.
    text += Line("On-BadSignature", "accept");
    text += Line("ResolverConfiguration", InForce("opendkim/resolver.conf"));
    return text;
}

/// One key for all domains.
std::string KeyTableText(const settings::StoredSettings& settings)
{
    // The domain of the sender stands for the percent sign.
    return std::string(kKeyName) + " %:" + settings.Text("dkim_selector") + ":" +
           PackagePath("etc/dkim.signer/dkim.private") + "\n";
}

std::string SigningTableText(const settings::StoredSettings& settings)
{
    std::string text;
    for (const std::string& domain : settings::MailDomains(settings)) {
        text += "*@" + domain + " " + kKeyName + "\n";
    }
    return text;
}

/// The filter's resolver by itself asks neither the machine's name servers nor one on this machine.
std::string ResolverText(const RenderContext& context)
{
    std::string text = kHeader;
    text += "server:\n    do-not-query-localhost: no\n";
    if (context.nameServers.empty()) return text;

    text += "forward-zone:\n    name: \".\"\n";
    for (const std::string& address : context.nameServers) {
        text += "    forward-addr: " + address + "\n";
    }
    return text;
}

std::string DmarcFilterText(const settings::StoredSettings& settings)
{
    std::string text = ProcessLines(daemons::kDmarcFilter);
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

std::string SpfText(const settings::StoredSettings& settings)
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

/// A filter as the mail server names it. Mail that a filter cannot look at has to wait, also when
/// the filter died of it: who can bring one down must not get past it by that.
std::string FilterAt(std::string_view socket)
{
    return "{ unix:" + std::string(socket) + ", default_action=tempfail }";
}

/// The scanner, while it runs.
std::string Scanner(const settings::StoredSettings& settings)
{
    return daemons::Runs(daemons::kScanner, settings) ? FilterAt(daemons::kScannerMilter.socket)
                                                      : "";
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
const char kAskOwnSenders[] =
    "check_policy_service { unix:private/own-senders, default_action=DEFER }";
const char kAskRatePolicy[] = "check_policy_service unix:private/rate-policy";

std::string SmtpFilters(const settings::StoredSettings& settings)
{
    // The DMARC checker passes what has no author that it can read. What others have signed would
    // look forged to it without the verifier.
    const bool checksAuthors = daemons::Runs(daemons::kDmarcFilter, settings);
    return Joined(
        {checksAuthors ? FilterAt(kFromFilterSocket) : "",
         daemons::Runs(daemons::kDkimFilter, settings) ? FilterAt(daemons::kDkimFilter.socket) : "",
         checksAuthors ? FilterAt(daemons::kDmarcFilter.socket) : "", Scanner(settings)});
}

std::string SubmissionFilters(const settings::StoredSettings& settings)
{
    return Joined({Scanner(settings), LocalMailFilters(settings)});
}

std::string LocalMailFilters(const settings::StoredSettings& settings)
{
    return settings.Bool("enable_dkim") ? FilterAt(daemons::kDkimFilter.socket) : "";
}

std::string FilterServices(const settings::StoredSettings& settings)
{
    const char kService[] = " unix - n n - 0 spawn\n";
    return std::string("policyd-spf") + kService + "  user=policyd-spf argv=/usr/bin/policyd-spf " +
           InForce("spf/policyd-spf.conf") + "\nown-senders" + kService +
           "  user=policyd-spf argv=" + PackagePath("target/bin/hald_own_senders") +
           "\nfrom-check" + kService +
           "  user=mailvane-policy argv=" + PackagePath("target/bin/hald_from_check") + " " +
           OwnAddresses(' ') + "\nrate-policy" + kService +
           "  user=mailvane-policy argv=" + PackagePath("target/bin/hald_rate_policy") + " " +
           InForce(generation::kQuotaFile) + " " + std::string(daemons::kMemcached.socket) + " " +
           std::to_string(settings.Int("smtpd_sasl_sender_rate_limit")) + "\n";
}

void PutFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                    const RenderContext& context)
{
    next.Put("opendkim/opendkim.conf", DkimFilterText(settings), 0644);
    next.Put("opendkim/KeyTable", KeyTableText(settings), 0644);
    next.Put("opendkim/SigningTable", SigningTableText(settings), 0644);
    next.Put("opendkim/TrustedHosts", OwnAddresses('\n'), 0644);
    next.Put("opendkim/resolver.conf", ResolverText(context), 0644);
    next.Put("opendmarc/opendmarc.conf", DmarcFilterText(settings), 0644);
    next.Put("opendmarc/ignore.hosts", OwnAddresses('\n'), 0644);
    next.Put("spf/policyd-spf.conf", SpfText(settings), 0644);
}

}  // namespace host::render
