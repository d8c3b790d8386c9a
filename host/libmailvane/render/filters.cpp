// Texts of the files of OpenDKIM, OpenDMARC and the SPF checker, and how the rate policy is run.
#include "host/libmailvane/render/filters.h"

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

const char kHeader[] = "# Made by mailvane from its stored settings.\n";
const char kKeyName[] = "server";

/// The addresses of this machine itself: mail from these is signed and not checked. The same as
/// Postfix's $mynetworks, so that only mail of clients that may relay is signed.
const char* const kThisMachine[] = {"127.0.0.1", "::1"};

const char kFromFilterSocket[] = "private/from-check";  // below the mail server's queue directory

/// A path through the link `current`, so that it is the same in every generation.
std::string InForce(const std::string& relative)
{
    return generation::GeneratedDirectory() + "/current/" + relative;
}

/// One line of a configuration file: name and value.
std::string Line(const std::string& name, const std::string& value)
{
    return name + " " + value + "\n";
}

/// How the DKIM and the DMARC filter run: as their own users, restarted when they die, but no more
/// than 100 times a minute.
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

/// The addresses of this machine, each followed by the separator.
std::string OwnAddresses(char separator)
{
    std::string text;
    for (const char* address : kThisMachine) text += address + std::string(1, separator);
    return text;
}

std::string DkimFilterText(const settings::StoredSettings& settings, const RenderContext& context)
{
    std::string text = ProcessLines(daemons::kDkimFilter);
    const bool signs = settings.Bool("enable_dkim");
    text += Line("Mode", signs ? "sv" : "v");
    text += Line("Canonicalization", "relaxed/simple");
    text += Line("OversignHeaders", "From");
    // With these two the filter requires the key, which may not exist when it only verifies.
    if (signs) {
        text += Line("KeyTable", "file:" + InForce("opendkim/KeyTable"));
        text += Line("SigningTable", "refile:" + InForce("opendkim/SigningTable"));
    }
    text += Line("InternalHosts", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("ExternalIgnoreList", "file:" + InForce("opendkim/TrustedHosts"));
    text += Line("AuthservID", settings.Text("smtp_hostname"));
    // A bad signature is not refused here: the DMARC policy of the sender's domain decides.
    text += Line("On-BadSignature", "accept");
    // By default its resolver asks neither the name servers of the machine nor one that runs on it.
    // A file for the resolver would be read again for each message, and libunbound's parser is one
    // for all threads.
    std::string nameServers;
    for (const std::string& address : context.nameServers) {
        nameServers += (nameServers.empty() ? "" : ",") + address;
    }
    if (!nameServers.empty()) text += Line("Nameservers", nameServers);
    return text;
}

/// The key table: one key for all domains.
std::string KeyTableText(const settings::StoredSettings& settings)
{
    // The filter replaces "%" by the sender's domain.
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

std::string DmarcFilterText(const settings::StoredSettings& settings)
{
    std::string text = ProcessLines(daemons::kDmarcFilter);
    text += Line("AuthservID", settings.Text("smtp_hostname"));
    text += Line("TrustedAuthservIDs", settings.Text("smtp_hostname"));
    text += Line("RejectFailures", "true");
    text += Line("IgnoreHosts", InForce("opendmarc/ignore.hosts"));
    text += Line("IgnoreAuthenticatedClients", "true");
    // Results already in a message are ignored: the sender could have written them.
    text += Line("SPFIgnoreResults", "true");
    text += Line("SPFSelfValidate", "true");
    text += Line("PublicSuffixList", "/usr/share/publicsuffix/public_suffix_list.dat");
    return text;
}

std::string SpfText(const settings::StoredSettings& settings)
{
    std::string text = kHeader;
    text += "debugLevel = 1\n";
    text += "TestOnly = 1\n";  // 1 makes the checker refuse mail, in spite of the name
    text += "HELO_reject = Fail\n";
    text += std::string("Mail_From_reject = ") +
            (settings.Bool("reject_spf_soft_fail") ? "Softfail" : "Fail") + "\n";
    text += "PermError_reject = False\n";
    text += "TempError_Defer = False\n";
    text += "skip_addresses = 127.0.0.0/8,::ffff:127.0.0.0/104,::1\n";
    text += "Header_Type = SPF\n";
    return text;
}

/// The entry of a filter in Postfix's list. While a filter does not answer, mail is deferred.
/// Accepting it would let senders bypass a filter by crashing it.
std::string FilterAt(std::string_view socket)
{
    return "{ unix:" + std::string(socket) + ", default_action=tempfail }";
}

/// The entry of the scanner, empty when it does not run.
std::string Scanner(const settings::StoredSettings& settings)
{
    return daemons::Runs(daemons::kScanner, settings) ? FilterAt(daemons::kScannerMilter.socket)
                                                      : "";
}

std::string Tool(const std::string& name)
{
    return PackagePath("target/bin/" + name);
}

/// A service of master.cf: Postfix starts `command` for each connection, as `user`.
std::string SpawnedService(const std::string& name, const std::string& user,
                           const std::string& command)
{
    return name + " unix - n n - 0 spawn\n  user=" + user + " argv=" + command + "\n";
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
const char kAskAttachmentNames[] =
    "pipemap:{pcre:${config_directory}/maps/attachment_checks, "
    "socketmap:unix:private/attachment-names:names}";
const char kAskRatePolicy[] = "check_policy_service unix:private/rate-policy";

std::string SmtpFilters(const settings::StoredSettings& settings)
{
    // The DMARC checker accepts mail without a readable From, so the check of From fields stands
    // before it. It needs the DKIM verifier's results: without them even validly signed mail would
    // fail.
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

std::string FilterServices(const settings::StoredSettings& settings, const RenderContext& context)
{
    const std::string quotas = InForce(generation::kQuotaFile);
    const std::string counters(daemons::kMemcached.socket);
    const std::string limit = std::to_string(settings.Int("smtpd_sasl_sender_rate_limit"));
    const std::string& shared = context.sharedCounters;
    return SpawnedService("policyd-spf", "policyd-spf",
                          "/usr/bin/policyd-spf " + InForce("spf/policyd-spf.conf")) +
           SpawnedService("own-senders", "policyd-spf", Tool("hald_own_senders")) +
           SpawnedService("from-check", "mailvane-policy",
                          Tool("hald_from_check") + " " + OwnAddresses(' ')) +
           SpawnedService("attachment-names", "mailvane-policy", Tool("hald_attachment_names")) +
           SpawnedService("rate-policy", "mailvane-policy",
                          Tool("hald_rate_policy") + " " + quotas + " " + counters + " " + limit +
                              (shared.empty() ? "" : " " + shared));
}

void PutFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                    const RenderContext& context)
{
    next.Put("opendkim/opendkim.conf", DkimFilterText(settings, context), 0644);
    next.Put("opendkim/KeyTable", KeyTableText(settings), 0644);
    next.Put("opendkim/SigningTable", SigningTableText(settings), 0644);
    next.Put("opendkim/TrustedHosts", OwnAddresses('\n'), 0644);
    next.Put("opendmarc/opendmarc.conf", DmarcFilterText(settings), 0644);
    next.Put("opendmarc/ignore.hosts", OwnAddresses('\n'), 0644);
    next.Put("spf/policyd-spf.conf", SpfText(settings), 0644);
}

}  // namespace host::render
