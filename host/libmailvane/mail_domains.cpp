// The domains whose mail this server takes in.
#include "host/libmailvane/mail_domains.h"

namespace host {

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

}  // namespace host
