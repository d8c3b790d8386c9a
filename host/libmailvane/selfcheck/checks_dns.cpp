// Checks of the self-check by DNS queries: names of the host, records of the mail domains,
// blocklists. When the DNS does not answer, they are UNKNOWN, never FAILED.
#include <algorithm>
#include <set>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/pem.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/system/dns_query.h"

namespace host::selfcheck {

namespace {

using Records = std::vector<std::string>;

Finding NoAnswer()
{
    return {CheckWord::kUnknown, "the DNS does not answer"};
}

/// The domains of mail addresses. The host name is one only when it is also the domain of the
/// accounts.
std::set<std::string> AddressDomains(const settings::StoredSettings& settings)
{
    std::set<std::string> domains(settings.domains.begin(), settings.domains.end());
    domains.insert(settings.MailDomain());
    return domains;
}

/// Runs `check` for every mail domain and joins the findings; stops when the DNS does not answer.
template <typename DomainCheck>
Finding ForEachDomain(const settings::StoredSettings& settings, DomainCheck check)
{
    Finding sum;
    for (const std::string& domain : AddressDomains(settings)) {
        Finding finding = check(domain);
        if (finding.word == CheckWord::kUnknown) return finding;
        Add(sum, finding);
    }
    return sum;
}

bool Has(const Records& records, const std::string& record)
{
    return std::find(records.begin(), records.end(), record) != records.end();
}

std::ptrdiff_t CountOf(const Records& records, const std::string& start)
{
    return std::count_if(records.begin(), records.end(), [&start](const std::string& record) {
        return record.compare(0, start.size(), start) == 0;
    });
}

Finding Warning(const std::string& detail)
{
    return {CheckWord::kWarning, detail};
}

/// The value of tag `p` of a DKIM record, without blanks.
std::string PublicKeyIn(const std::string& record)
{
    std::string plain;
    for (const char c : record) {
        if (c != ' ' && c != '\t') plain += c;
    }
    const auto tag = plain.compare(0, 2, "p=") == 0 ? 0 : plain.find(";p=");
    if (tag == std::string::npos) return "";

    const auto start = plain.find('=', tag) + 1;
    return plain.substr(start, plain.find(';', start) - start);
}

/// The public half of the signing key, in one line; empty when there is none.
std::string OwnPublicKey()
{
    std::string pem;
    if (!ReadFile(PackagePath("etc/dkim.key/dkim.public"), pem)) return "";

    return PemBody(pem, "PUBLIC KEY");
}

/// Whether a blocklist's answer means "listed". 127.255.255.x means that the query was refused.
bool IsListing(const std::string& answer)
{
    return answer.compare(0, 4, "127.") == 0 && answer.compare(0, 12, "127.255.255.") != 0;
}

Finding CheckListing(const settings::Blocklist& list, const Records& addresses)
{
    Finding sum;
    for (const std::string& address : addresses) {
        const auto answers = system::DnsRecords(system::ReverseName(address, list.server),
                                                system::DnsType::kAddress);
        if (!answers) {
            Add(sum, {CheckWord::kUnknown, list.server + " does not answer"});
        } else if (std::any_of(answers->begin(), answers->end(), IsListing)) {
            Add(sum, Warning(address + " is listed by " + list.server));
        }
    }
    return sum;
}

}  // namespace

Finding CheckHostAddress(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const std::string& name = settings.Text("smtp_hostname");
    const auto addresses = system::DnsAddresses(name);
    if (!addresses) return NoAnswer();

    return addresses->empty() ? Warning(name + " has no address") : Finding();
}

Finding CheckHostReverse(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const std::string name = InLowerCase(settings.Text("smtp_hostname"));
    const auto addresses = system::DnsAddresses(name);
    if (!addresses) return NoAnswer();
    if (addresses->empty()) return Warning(name + " has no address");

    Finding sum;
    for (const std::string& address : *addresses) {
        const auto names = system::DnsRecords(system::ReverseName(address), system::DnsType::kName);
        if (!names) return NoAnswer();
        if (!Has(*names, name)) Add(sum, Warning(address + " has another name"));
    }
    return sum;
}

Finding CheckMx(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const std::string host = InLowerCase(settings.Text("smtp_hostname"));
    return ForEachDomain(settings, [&host](const std::string& domain) -> Finding {
        const auto servers = system::DnsRecords(domain, system::DnsType::kMailServer);
        if (!servers) return NoAnswer();
        if (servers->empty()) return {CheckWord::kFailed, domain + " has no MX record"};

        return Has(*servers, host) ? Finding() : Warning("mail for " + domain + " goes elsewhere");
    });
}

Finding CheckSpf(const settings::StoredSettings& settings, const char* /*subject*/)
{
    return ForEachDomain(settings, [](const std::string& domain) {
        const auto texts = system::DnsRecords(domain, system::DnsType::kText);
        if (!texts) return NoAnswer();

        const auto count = CountOf(*texts, "v=spf1");
        return count == 1 ? Finding()
                          : Warning(domain + " has " + std::to_string(count) + " SPF records");
    });
}

Finding CheckDmarc(const settings::StoredSettings& settings, const char* /*subject*/)
{
    return ForEachDomain(settings, [](const std::string& domain) {
        // A subdomain without its own policy has that of its parent domain.
        for (std::string zone = domain; zone.find('.') != std::string::npos;
             zone.erase(0, zone.find('.') + 1)) {
            const auto texts = system::DnsRecords("_dmarc." + zone, system::DnsType::kText);
            if (!texts) return NoAnswer();
            if (CountOf(*texts, "v=DMARC1") > 0) return Finding();
        }
        return Warning(domain + " has no DMARC record");
    });
}

Finding CheckDkim(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const std::string key = OwnPublicKey();
    if (key.empty()) return {CheckWord::kFailed, "there is no key to sign with"};

    const std::string prefix = settings.Text("dkim_selector") + "._domainkey.";
    return ForEachDomain(settings, [&key, &prefix](const std::string& domain) -> Finding {
        const auto texts = system::DnsRecords(prefix + domain, system::DnsType::kText);
        if (!texts) return NoAnswer();
        if (texts->empty()) return {CheckWord::kFailed, domain + " has no key record"};

        const bool fits =
            std::any_of(texts->begin(), texts->end(),
                        [&key](const std::string& text) { return PublicKeyIn(text) == key; });
        return fits ? Finding() : Finding{CheckWord::kFailed, domain + " shows another key"};
    });
}

Finding CheckOwnListing(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const auto addresses = system::DnsAddresses(settings.Text("smtp_hostname"));
    if (!addresses) return NoAnswer();

    Finding sum;
    for (const settings::Blocklist& list : settings.blocklists) {
        if (list.type == "rbl_client") Add(sum, CheckListing(list, *addresses));
    }
    return sum;
}

}  // namespace host::selfcheck
