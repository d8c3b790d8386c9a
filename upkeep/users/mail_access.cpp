// What a user types into a mail program. Asks the kernel which ports are listened on.
#include "upkeep/users/mail_access.h"

#include <algorithm>
#include <vector>

#include "host/libhaldcore/mail_services.h"
#include "host/libmailvane/daemons/sockets.h"
#include "host/libmailvane/render/certificate.h"

namespace upkeep {

namespace {

using host::MailService;
using host::daemons::Listener;
using host::settings::StoredSettings;

/// A service that users connect to.
struct UserService {
    const char* enabledKey;
    const char* protocol;
};

// Those that mail programs do better with come first.
constexpr UserService kIncoming[] = {{"imaps_enabled", "IMAP"},
                                     {"imap_enabled", "IMAP"},
                                     {"pop3s_enabled", "POP3"},
                                     {"pop3_enabled", "POP3"}};
constexpr UserService kOutgoing[] = {{"smtp_ssl_enabled", "SMTP"}, {"smtp_tls_enabled", "SMTP"}};

const MailService& ServiceOf(const UserService& wanted)
{
    return *std::find_if(
        std::begin(host::kMailServices), std::end(host::kMailServices),
        [&](const MailService& one) { return std::string(one.enabledKey) == wanted.enabledKey; });
}

Json::Value Told(const UserService& wanted, const StoredSettings& settings,
                 const std::vector<Listener>& listeners)
{
    const MailService& service = ServiceOf(wanted);
    const int port = settings.Int(service.portKey);
    Json::Value told;
    told["protocol"] = wanted.protocol;
    told["server"] = settings.Text("smtp_hostname");
    told["port"] = port;
    told["encryption"] = service.isTls ? "SSL/TLS" : "STARTTLS";
    told["answers"] = std::any_of(listeners.begin(), listeners.end(),
                                  [&](const Listener& one) { return one.port == port; });
    return told;
}

template <std::size_t size>
Json::Value Services(const UserService (&table)[size], const StoredSettings& settings,
                     const std::vector<Listener>& listeners)
{
    Json::Value services(Json::arrayValue);
    for (const UserService& one : table) {
        if (settings.Bool(one.enabledKey)) services.append(Told(one, settings, listeners));
    }
    return services;
}

}  // namespace

std::string AddressOf(const std::string& name, const StoredSettings& settings)
{
    return name + "@" + settings.MailDomain();
}

host::Result<Json::Value> MailAccess(const std::string& name, const StoredSettings& settings)
{
    const host::Result<std::vector<Listener>> listeners = host::daemons::TcpListeners();
    if (!listeners) return listeners.reason();

    Json::Value access;
    access["address"] = AddressOf(name, settings);
    access["login"] = name;
    access["incoming"] = Services(kIncoming, settings, *listeners);
    access["outgoing"] = settings.Bool("smtp_enabled") ? Services(kOutgoing, settings, *listeners)
                                                       : Json::Value(Json::arrayValue);
    access["self_signed"] = !host::render::InstalledCertificate();
    return access;
}

}  // namespace upkeep
