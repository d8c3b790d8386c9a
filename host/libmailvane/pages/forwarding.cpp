// Checks of a user's forwarding address.
#include "host/libmailvane/pages/forwarding.h"

#include <strings.h>

#include <algorithm>

#include "host/libmailvane/names/text_checks.h"

namespace host::pages {

namespace {

/// Whether an address, with or without an extension, is delivered to the user.
bool IsOwnAddress(const std::string& address, const std::string& user,
                  const settings::StoredSettings& stored)
{
    const auto at = address.find('@');
    const std::string local = address.substr(0, std::min(at, address.find('+')));
    const std::string domain = address.substr(at + 1);
    const auto isDomain = [&domain](const std::string& own) {
        return strcasecmp(own.c_str(), domain.c_str()) == 0;
    };
    return strcasecmp(local.c_str(), user.c_str()) == 0 &&
           (isDomain(stored.MailDomain()) ||
            std::any_of(stored.domains.begin(), stored.domains.end(), isDomain));
}

}  // namespace

Result<void> CheckForwarding(const stores::PersonalSettings& settings, const std::string& user,
                             const settings::StoredSettings& stored)
{
    const std::string& address = settings.forwardAddress;
    if (address.empty() && !settings.forward) return {};
    if (!names::IsFullAddress(address)) {
        return Reason{ReasonCode::kNoAddress, Subject::Setting("forward_addr"),
                      "mail cannot be forwarded to that address"};
    }
    if (settings.forward && IsOwnAddress(address, user, stored)) {
        return Reason{ReasonCode::kLoops, Subject::Setting("forward_addr"),
                      "mail forwarded to its own address would loop"};
    }
    return {};
}

}  // namespace host::pages
