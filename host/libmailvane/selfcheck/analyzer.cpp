// The self-check of the mail server: the table of its checks, and their results for the page.
#include "platform/mailvane/analyzer.h"

#include <ctime>
#include <iterator>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/selfcheck/kept_results.h"

namespace host::selfcheck {

namespace {

constexpr std::chrono::seconds kQuick{2};
constexpr std::chrono::seconds kUsual{5};

using daemons::kAntiVirus;
using daemons::kDkimFilter;
using daemons::kDmarcFilter;
using daemons::kDovecot;
using daemons::kMemcached;
using daemons::kPostfix;
using daemons::kScanner;
using daemons::kScannerMilter;

// Check holds char pointers; the table's texts are literals, which end with a NUL.
constexpr const char* kScannerSwitches = daemons::kScanner.switches.data();

/// The row of a check that connects to a daemon's socket.
constexpr Check OfDaemon(const daemons::Daemon& daemon, decltype(Check::run) run,
                         const char* meaning)
{
    return {
        daemon.check.data(), daemon.switches.data(), run, daemon.socket.data(), kUsual, meaning};
}

// To add a check, write its function (checks_*.cpp), declare it in checks.h, and add a row here and
// in docs/self_check.md. A finding other than OK says in its detail what is wrong; that is logged.
constexpr Check kChecks[] = {
    {daemons::kPostfix.check.data(), nullptr, CheckProcess, daemons::kPostfix.name.data(), kQuick,
     "the SMTP server runs"},
    {daemons::kDovecot.check.data(), nullptr, CheckProcess, daemons::kDovecot.name.data(), kQuick,
     "the IMAP and POP3 server, which checks logins too, runs"},
    {daemons::kDkimFilter.check.data(), daemons::kDkimFilter.switches.data(), CheckFilter,
     daemons::kDkimFilter.name.data(), kUsual,
     "the DKIM filter answers and has not died since it was started"},
    {daemons::kDmarcFilter.check.data(), daemons::kDmarcFilter.switches.data(), CheckFilter,
     daemons::kDmarcFilter.name.data(), kUsual,
     "the DMARC checker answers and has not died since it was started"},
    OfDaemon(daemons::kMemcached, CheckCounters,
             "the store of the senders' counters answers, and so does a shared one"),
    OfDaemon(daemons::kScanner, CheckScanner, "the mail scanner is ready for mail"),
    OfDaemon(daemons::kScannerMilter, CheckMilter, "so is the milter that hands it over"),
    OfDaemon(daemons::kAntiVirus, CheckAntiVirus, "the anti-virus engine answers"),
    {"virus_signatures", daemons::kAntiVirus.switches.data(), CheckSignatures, "/var/lib/clamav",
     kQuick, "the engine's signatures are new"},
    {"spam_rules", "spam_enable", CheckSpamRules, nullptr, kQuick,
     "the rules of the spam filter are new"},
    {"smtp_port", nullptr, CheckGreeting, "smtp_port", kUsual, "SMTP greets on its port"},
    {"smtps_port", "smtp_ssl_enabled", CheckTlsGreeting, "smtps_port", kLongestCheck,
     "submission with TLS greets on its port"},
    {"smtp_tls_port", "smtp_tls_enabled", CheckGreeting, "smtp_tls_port", kUsual,
     "submission with STARTTLS greets on its port"},
    {"imap_port", "imap_enabled", CheckGreeting, "imap_port", kUsual, "IMAP greets on its port"},
    {"imaps_port", "imaps_enabled", CheckTlsGreeting, "imaps_port", kLongestCheck,
     "IMAP with TLS greets on its port"},
    {"pop3_port", "pop3_enabled", CheckGreeting, "pop3_port", kUsual, "POP3 greets on its port"},
    {"pop3s_port", "pop3s_enabled", CheckTlsGreeting, "pop3s_port", kLongestCheck,
     "POP3 with TLS greets on its port"},
    {"open_relay", nullptr, CheckOpenRelay, nullptr, kUsual, "strangers cannot send to strangers"},
    {"relay_login", "smtp_relay_auth", CheckRelayLogin, nullptr, kLongestCheck,
     "the login at the relay host is told to that host alone"},
    {"packet_filter", nullptr, CheckPacketFilter, nullptr, kLongestCheck,
     "no packet filter of others drops what it does not know"},
    {"web_login", nullptr, CheckWebLogin, nullptr, kUsual,
     "who fails to log in to the web is kept away"},
    {"mail_queue", nullptr, CheckQueue, nullptr, kLongestCheck,
     "few messages wait for another try, and not for long"},
    {"directory_accounts", "account_type", CheckDirectoryAccounts, nullptr, kUsual,
     "the accounts of the directory can be listed"},
    {"certificate_age", nullptr, CheckCertificateAge, nullptr, kLongestCheck,
     "the certificate is valid for two more weeks"},
    {"certificate_key", nullptr, CheckCertificateKey, nullptr, kLongestCheck,
     "certificate and key belong together"},
    {"certificate_served", nullptr, CheckServedCertificate, nullptr, kLongestCheck,
     "SMTP shows the certificate that is configured"},
    {"config_postfix", nullptr, CheckPostfixFiles, nullptr, kLongestCheck,
     "the SMTP server finds no fault in its files"},
    {"config_dovecot", nullptr, CheckDovecotFiles, nullptr, kLongestCheck,
     "the IMAP and POP3 server finds no fault in its file"},
    {"config_opendkim", daemons::kDkimFilter.switches.data(), CheckDkimFiles, nullptr,
     kLongestCheck, "the DKIM filter finds no fault in its files"},
    {"config_opendmarc", daemons::kDmarcFilter.switches.data(), CheckDmarcFiles, nullptr,
     kLongestCheck, "the DMARC checker finds no fault in its file"},
    {"config_mailscanner", kScannerSwitches, CheckScannerFiles, nullptr, kLongestCheck,
     "the mail scanner finds no fault in its file"},
    {"lists", nullptr, CheckLists, nullptr, kLongestCheck,
     "the databases of aliases and lists are there and whole"},
    {"disk_queue", nullptr, CheckDisk, "/var/spool/postfix", kQuick,
     "the mail queue has space left"},
    {"disk_mail", nullptr, CheckDisk, "/home", kQuick, "the mailboxes have space left"},
    {"disk_logs", nullptr, CheckDisk, "/var/log/mailvane", kQuick, "the logs have space left"},
    {"disk_quarantine", kScannerSwitches, CheckDisk, "/var/lib/mailvane/quarantine", kQuick,
     "the scanner's quarantine has space left"},
    {"disk_settings", nullptr, CheckDisk, "/var/packages/Mailvane/etc", kQuick,
     "settings and lists have space left"},
    {"dns_address", nullptr, CheckHostAddress, nullptr, kUsual, "the host name has an address"},
    {"dns_reverse", nullptr, CheckHostReverse, nullptr, kUsual,
     "that address has the host name as its name"},
    {"dns_mx", nullptr, CheckMx, nullptr, kUsual, "the MX of each mail domain is this host"},
    {"dns_spf", nullptr, CheckSpf, nullptr, kUsual, "each mail domain has one SPF record"},
    {"dns_dmarc", nullptr, CheckDmarc, nullptr, kUsual, "each mail domain has a DMARC record"},
    {"dns_dkim", "enable_dkim", CheckDkim, nullptr, kUsual,
     "each mail domain shows the key that mail is signed with"},
    {"dns_blocklists", "spam_dnsbl_enable", CheckOwnListing, nullptr, kUsual,
     "no blocklist in use lists this host"},
};

}  // namespace

std::vector<Check> AllChecks()
{
    return {std::begin(kChecks), std::end(kChecks)};
}

std::vector<CheckResult> CheckServer(const settings::StoredSettings& settings)
{
    const std::vector<Check> checks = AllChecks();
    const std::vector<Finding> findings =
        settings.Bool("smtp_enabled") ? RunChecks(checks, settings)
                                      : std::vector<Finding>(checks.size(), {CheckWord::kOff, ""});

    std::vector<CheckResult> results;
    for (std::size_t i = 0; i < checks.size(); ++i) {
        const Finding& finding = findings[i];
        if (finding.word > CheckWord::kOk) {
            Log(LOG_WARNING, "self-check: %s is %s: %s", checks[i].key, Spelling(finding.word),
                finding.detail.c_str());
        }
        results.push_back({checks[i].key, finding});
    }
    KeepResults(results, std::time(nullptr));
    return results;
}

}  // namespace host::selfcheck

Analyzer::Analyzer() = default;

Analyzer::~Analyzer() {}

int Analyzer::Analyze(std::list<Result>& results)
{
    const auto settings = host::settings::StoredSettings::Read();
    if (!host::Succeeded(settings)) return -1;

    for (const host::selfcheck::CheckResult& result : host::selfcheck::CheckServer(*settings)) {
        results.push_back({host::selfcheck::Spelling(result.finding.word), result.key});
    }
    return 0;
}
