// What the sources of Postfix's files share.
#include "host/libmailvane/render/postfix_parts.h"

#include <sstream>

namespace host::render {

Parameters::Parameters(const std::string& fragment)
{
    std::istringstream lines(fragment);
    std::string name;
    for (std::string line; std::getline(lines, line);) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#') continue;
        if (start == 0) name = line.substr(0, line.find_first_of(" \t="));
        std::string& value = own_[name];
        if (start == 0) {
            value = line.substr(line.find('=') + 1);
        } else {
            value += line;
        }
    }
}

void Parameters::Add(const std::string& name, const std::string& value)
{
    if (own_.count(name) == 0) text_ += name + " =" + (value.empty() ? "" : " ") + value + "\n";
}

void Parameters::AddTyped(const std::string& name, const std::string& value)
{
    std::string text;
    for (const char c : value) text.append(c == '$' ? 2 : 1, c);
    Add(name, text);
}

std::string Parameters::Own(const std::string& name) const
{
    const auto own = own_.find(name);
    return own == own_.end() ? "" : own->second;
}

std::string Map(const std::string& name)
{
    return "cdb:${config_directory}/maps/" + name;
}

std::string Table(const char* type, const std::string& name)
{
    return std::string(type) + ":${config_directory}/maps/" + name;
}

const char* YesNo(bool flag)
{
    return flag ? "yes" : "no";
}

std::string RelayHost(const settings::StoredSettings& settings)
{
    const std::string& server = settings.Text("smtp_relay_server");
    if (!settings.Bool("smtp_relay_enabled") || server.empty()) return "";

    const std::string host = server.front() == '[' ? server : "[" + server + "]";
    return host + ":" + std::to_string(settings.Int("smtp_relay_port"));
}

bool HasSubmission(const settings::StoredSettings& settings)
{
    return settings.Bool("smtp_ssl_enabled") || settings.Bool("smtp_tls_enabled");
}

bool SmtpPortTakesLogins(const settings::StoredSettings& settings)
{
    return settings.SmtpPortTakesLogins() || settings.Bool("plaintext_auth") ||
           !HasSubmission(settings);
}

}  // namespace host::render
