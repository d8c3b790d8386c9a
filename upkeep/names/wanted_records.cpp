// The DNS records that the mail domains need, and whether those that were found are these.
#include "upkeep/names/wanted_records.h"

#include <algorithm>

#include "host/libhaldcore/mail_services.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

using Found = std::vector<std::string>;
using host::settings::StoredSettings;
using host::system::DnsType;

constexpr char kSpf[] = "v=spf1";
constexpr char kDmarc[] = "v=DMARC1";
constexpr char kPreference[] = "10 ";
constexpr char kPriorityAndWeight[] = "0 1 ";

struct Use {
    const char* word;
    const char* type;
    DnsType asked;
};

// In the order of RecordUse.
constexpr Use kUses[] = {{"MX", "MX", DnsType::kMailServer},
                         {"SPF", "TXT", DnsType::kText},
                         {"DKIM", "TXT", DnsType::kText},
                         {"DMARC", "TXT", DnsType::kText},
                         {"SRV", "SRV", DnsType::kService}};

const Use& RowOf(RecordUse use)
{
    return kUses[static_cast<std::size_t>(use)];
}

/// What mail programs look for to find a service (RFC 6186, RFC 8314).
struct ServiceName {
    const char* registered;
    const char* label;
};

constexpr ServiceName kServiceNames[] = {
    {"mail_smtps", "_submissions"}, {"mail_smtp_tls", "_submission"}, {"mail_imaps", "_imaps"},
    {"mail_imap", "_imap"},         {"mail_pop3s", "_pop3s"},         {"mail_pop3", "_pop3"},
};

const host::MailService& ServiceOf(const ServiceName& name)
{
    return *std::find_if(std::begin(host::kMailServices), std::end(host::kMailServices),
                         [&](const host::MailService& service) {
                             return std::string(service.registered) == name.registered;
                         });
}

bool IsOn(const host::MailService& service, const StoredSettings& settings)
{
    return settings.Bool(service.enabledKey) && (!service.isSmtp || settings.Bool("smtp_enabled"));
}

std::string WithoutBlanks(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char c) { return c == ' ' || host::IsControl(c); }),
               text.end());
    return text;
}

/// The key in a DKIM record.
std::string KeyIn(const std::string& record)
{
    const std::string tags = ";" + WithoutBlanks(record);
    const std::size_t begin = tags.find(";p=");
    if (begin == std::string::npos) return "";
    return tags.substr(begin + 3, tags.find(';', begin + 3) - begin - 3);
}

std::string WithoutDot(std::string name)
{
    if (!name.empty() && name.back() == '.') name.pop_back();
    return host::InLowerCase(name);
}

/// The records of a kind among all texts of a name.
Found OfKind(const Found& found, const char* mark)
{
    Found same;
    std::copy_if(found.begin(), found.end(), std::back_inserter(same),
                 [&](const std::string& text) { return text.rfind(mark, 0) == 0; });
    return same;
}

bool Holds(const Found& found, const std::string& value)
{
    return std::find(found.begin(), found.end(), value) != found.end();
}

bool IsPublished(const WantedRecord& wanted, const Found& found)
{
    switch (wanted.use) {
        case RecordUse::kMx:
            return Holds(found, WithoutDot(wanted.value.substr(sizeof kPreference - 1)));
        case RecordUse::kService:
            return Holds(found, WithoutDot(wanted.value.substr(sizeof kPriorityAndWeight - 1)));
        case RecordUse::kSpf:
        case RecordUse::kDmarc:
            return found.size() == 1;
        case RecordUse::kDkim:
            break;
    }
    const std::string key = KeyIn(wanted.value);
    return std::any_of(found.begin(), found.end(),
                       [&](const std::string& text) { return KeyIn(text) == key; });
}

}  // namespace

const char* WordOf(RecordUse use)
{
    return RowOf(use).word;
}

const char* TypeWord(RecordUse use)
{
    return RowOf(use).type;
}

DnsType TypeOf(RecordUse use)
{
    return RowOf(use).asked;
}

std::vector<std::string> PublishedDomains(const StoredSettings& settings)
{
    std::vector<std::string> domains{settings.MailDomain()};
    for (const std::string& domain : settings.domains) {
        if (!Holds(domains, domain)) domains.push_back(domain);
    }
    return domains;
}

std::vector<WantedRecord> WantedRecords(const StoredSettings& settings, const std::string& domain,
                                        const std::string& key)
{
    const std::string host = settings.Text("smtp_hostname") + ".";
    std::vector<WantedRecord> records{
        {domain, RecordUse::kMx, domain, kPreference + host},
        {domain, RecordUse::kSpf, domain, std::string(kSpf) + " mx ~all"}};
    if (!key.empty()) {
        records.push_back({domain, RecordUse::kDkim,
                           settings.Text("dkim_selector") + "._domainkey." + domain,
                           "v=DKIM1; k=rsa; p=" + key});
    }
    records.push_back({domain, RecordUse::kDmarc, "_dmarc." + domain,
                       std::string(kDmarc) + "; p=none; rua=mailto:postmaster@" + domain});
    for (const ServiceName& name : kServiceNames) {
        const host::MailService& service = ServiceOf(name);
        if (!IsOn(service, settings)) continue;
        records.push_back({domain, RecordUse::kService, std::string(name.label) + "._tcp." + domain,
                           kPriorityAndWeight + settings.Spelled(service.portKey) + " " + host});
    }
    return records;
}

const char* StateOf(const WantedRecord& wanted, const std::optional<Found>& found)
{
    if (!found) return "no answer";
    Found same = *found;
    if (wanted.use == RecordUse::kSpf) same = OfKind(same, kSpf);
    if (wanted.use == RecordUse::kDmarc) same = OfKind(same, kDmarc);
    if (same.empty()) return "missing";
    return IsPublished(wanted, same) ? "published" : "differs";
}

}  // namespace upkeep
