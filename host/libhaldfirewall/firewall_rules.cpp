// Makes the packet filter's rules from the stored settings.
#include "host/libhaldfirewall/firewall_rules.h"

#include <cstdlib>
#include <set>

#include "host/libhaldcore/mail_services.h"

namespace host {

namespace {

bool Switch(const KeyValueFile& settings, const char* key, bool fallback)
{
    const std::string value = settings.Get(key).value_or("");
    if (value != "yes" && value != "no") return fallback;
    return value == "yes";
}

int Port(const KeyValueFile& settings, const MailService& service)
{
    const std::string value = settings.Get(service.portKey).value_or("");
    char* end = nullptr;
    const long port = strtol(value.c_str(), &end, 10);
    return *end == '\0' && port >= 1 && port <= 65535 ? static_cast<int>(port) : service.port;
}

/// The beginning of a rule for these ports.
std::string ToPorts(const std::set<int>& ports)
{
    std::string text;
    for (const int port : ports) {
        text += (text.empty() ? "" : ", ") + std::to_string(port);
    }
    return "tcp dport { " + text + " }";
}

}  // namespace

std::string FirewallRules(const KeyValueFile& settings)
{
    const bool mailServer = Switch(settings, "smtp_enabled", true);
    std::set<int> open;
    std::set<int> closed;
    for (const MailService& service : kMailServices) {
        const bool on = Switch(settings, service.enabledKey, service.enabled) &&
                        (mailServer || !service.isSmtp);
        (on ? open : closed).insert(Port(settings, service));
    }
    for (const int port : open) closed.erase(port);  // another service may use the port

    std::string rules =
        "# Made from the mail settings; changes are lost with the next one.\n"
        "table inet mailvane\n"  // so that the next line can delete it
        "delete table inet mailvane\n"
        "table inet mailvane {\n"
        "    chain input {\n"
        "        type filter hook input priority filter; policy accept;\n"
        "        iifname \"lo\" accept\n"
        // Only packets that open a connection are filtered; others pass, without connection
        // tracking.
        "        tcp flags & (fin | syn | rst | ack) != syn accept\n";
    if (!open.empty()) rules += "        " + ToPorts(open) + " accept\n";
    if (!closed.empty()) rules += "        " + ToPorts(closed) + " reject with tcp reset\n";
    return rules + "    }\n}\n";
}

}  // namespace host
