// The ports that the stored settings give to the mail services.
#include "host/libmailvane/mail_ports.h"

namespace host {

namespace {

struct PortSetting {
    const char* enabled;
    const char* port;
    bool isSmtp;  ///< off while the SMTP server as a whole is
};

constexpr PortSetting kPorts[] = {
    {"smtp_enabled", "smtp_port", true},         {"smtp_ssl_enabled", "smtps_port", true},
    {"smtp_tls_enabled", "smtp_tls_port", true}, {"imap_enabled", "imap_port", false},
    {"imaps_enabled", "imaps_port", false},      {"pop3_enabled", "pop3_port", false},
    {"pop3s_enabled", "pop3s_port", false},
};

bool IsOn(const StoredSettings& settings, const PortSetting& row)
{
    return settings.Bool(row.enabled) && (!row.isSmtp || settings.Bool("smtp_enabled"));
}

}  // namespace

bool MailboxServerRuns(const StoredSettings& settings)
{
    return !EnabledPorts(settings).empty();
}

std::vector<int> EnabledPorts(const StoredSettings& settings)
{
    std::vector<int> ports;
    for (const PortSetting& row : kPorts) {
        if (IsOn(settings, row)) ports.push_back(settings.Int(row.port));
    }
    return ports;
}

}  // namespace host
