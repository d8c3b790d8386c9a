// Ports of the web server, from the environment or /etc/default/mailvane.
#pragma once

#include <string>

namespace host::daemons {

constexpr char kWebPort[] = "MAILVANE_WEB_PORT";
constexpr char kWebTlsPort[] = "MAILVANE_WEB_TLS_PORT";

/// The login guard's table in the packet filter.
constexpr char kWebGuardTable[] = "inet mailvane_web";

/// Its port on 127.0.0.1.
std::string WebPort();

/// Its port with TLS for other machines; empty when it is to have none.
std::string WebTlsPort();

/// The port with TLS where other machines reach the program, through this or another web server.
int WebPortOfNetwork();

}  // namespace host::daemons
