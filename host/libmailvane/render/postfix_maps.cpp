// Texts of Postfix's maps that are made from settings.
#include <string>

#include "host/libmailvane/render/postfix.h"
#include "host/libmailvane/render/postfix_parts.h"
#include "host/libmailvane/settings/derived_settings.h"

namespace host::render {

namespace {

std::string EscapedForPattern(const std::string& domain)
{
    std::string pattern;
    for (const char c : domain) {
        if (c == '.') pattern += '\\';
        pattern += c;
    }
    return pattern;
}

/// Matches one of the mail domains.
std::string OwnDomains(const settings::StoredSettings& settings)
{
    std::string domains;
    for (const std::string& domain : settings::MailDomains(settings)) {
        domains += (domains.empty() ? "" : "|") + EscapedForPattern(domain);
    }
    return domains;
}

/// The rule that maps an address of a mail domain, with or without an extension, to `result`.
std::string OwnAddressRule(const settings::StoredSettings& settings, const std::string& result)
{
    return "/^([^@+]+)(\\+[^@]*)?@(" + OwnDomains(settings) + ")$/ " + result + "\n";
}

}  // namespace

std::string RenderAlwaysBcc(const settings::StoredSettings& settings)
{
    const std::string address = settings.AlwaysBcc();
    return address.empty() ? "" : kAlwaysCopied + (" " + address) + "\n";
}

std::string RenderRelayPassword(const settings::StoredSettings& settings)
{
    const std::string relay = RelayHost(settings);
    if (relay.empty() || !settings.Bool("smtp_relay_auth")) return "";

    return relay + " " + settings.Text("smtp_relay_account") + ":" +
           settings.Text("smtp_relay_password") + "\n";
}

std::string LoginPrefix(const settings::StoredSettings& settings)
{
    const std::string& domain = settings.Text("win_domain_short_name");
    return settings.Text("account_type") != "win" || domain.empty() ? "" : domain + "\\";
}

std::string RenderOwnNames(const settings::StoredSettings& settings)
{
    return OwnAddressRule(settings, "${1}");
}

std::string RenderLoginRule(const settings::StoredSettings& settings)
{
    const std::string prefix = LoginPrefix(settings);
    return OwnAddressRule(settings, prefix.empty() ? "${1}" : "${1}, " + prefix + "${1}");
}

std::string RenderOwnSenders(const settings::StoredSettings& settings)
{
    return "/@(" + OwnDomains(settings) + ")$/ own_senders\n";
}

std::string RenderRoles(const RenderContext& context)
{
    if (context.administrator.empty()) return "";

    std::string text;
    for (const char* role : kRoles) {
        text += std::string(role) + " " + context.administrator + "\n";
    }
    return text;
}

}  // namespace host::render
