// The ports that the stored settings give to the mail services.
#include "host/libmailvane/mail_ports.h"

#include "host/libhaldcore/mail_services.h"

namespace host {

namespace {

bool IsOn(const StoredSettings& settings, const MailService& service)
{
    return settings.Bool(service.enabledKey) && (!service.isSmtp || settings.Bool("smtp_enabled"));
}

}  // namespace

std::vector<int> EnabledPorts(const StoredSettings& settings)
{
    std::vector<int> ports;
    for (const MailService& service : kMailServices) {
        if (IsOn(settings, service)) ports.push_back(settings.Int(service.portKey));
    }
    return ports;
}

}  // namespace host
