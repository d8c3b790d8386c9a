// Where the package's web server listens. Reads the environment and /etc/default/mailvane.
#include "host/libmailvane/daemons/web_ports.h"

#include <cstdlib>
#include <optional>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"

namespace host::daemons {

namespace {

const char kUsualTlsPort[] = "8443";

/// Nothing where neither has it.
std::optional<std::string> PortOf(const char* name)
{
    if (const char* const value = std::getenv(name)) return value;
    const auto file = KeyValueFile::Read(Path("/etc/default/mailvane"));
    const auto value = file ? file->Get(name) : std::nullopt;
    const bool isNumber = value && value->find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? value : std::nullopt;
}

}  // namespace

std::string WebPort()
{
    const auto port = PortOf(kWebPort);
    return port && !port->empty() ? *port : "8080";
}

std::string WebTlsPort()
{
    return PortOf(kWebTlsPort).value_or(kUsualTlsPort);
}

int WebPortOfNetwork()
{
    const std::string port = WebTlsPort();
    return std::atoi(port.empty() ? kUsualTlsPort : port.c_str());
}

}  // namespace host::daemons
