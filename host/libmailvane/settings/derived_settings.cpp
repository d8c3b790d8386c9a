// Values derived from the stored settings: ports of the mail services, mail domains.
#include "host/libmailvane/settings/derived_settings.h"

namespace host::settings {

namespace {

bool IsOn(const StoredSettings& settings, const MailService& service)
{
    return settings.Bool(service.enabledKey) && (!service.isSmtp || settings.Bool("smtp_enabled"));
}

}  // namespace

std::vector<const MailService*> EnabledServices(const StoredSettings& settings)
{
    std::vector<const MailService*> services;
    for (const MailService& service : kMailServices) {
        if (IsOn(settings, service)) services.push_back(&service);
    }
    return services;
}

std::vector<int> EnabledPorts(const StoredSettings& settings)
{
    std::vector<int> ports;
    for (const MailService* service : EnabledServices(settings)) {
        ports.push_back(settings.Int(service->portKey));
    }
    return ports;
}

std::vector<std::string> MailDomains(const StoredSettings& settings)
{
    std::vector<std::string> domains{settings.Text("smtp_hostname")};
    const std::string& account = settings.Text("acc_domain_name");
    if (!account.empty() && account != domains.front()) domains.push_back(account);
    for (const std::string& domain : settings.domains) {
        if (domain != domains.front() && domain != account) domains.push_back(domain);
    }
    return domains;
}

}  // namespace host::settings
