// The head of a CGI request: what the web server put into the environment (RFC 3875).
#pragma once

#include <string>

#include "host/libkos/body_head.h"
#include "host/libkos/cross_site.h"

namespace kos {

/// Texts are empty when absent. All but the caller's name are the client's own words.
struct CgiRequest {
    std::string method;  ///< "GET" when absent, as for a program started by hand
    std::string query;
    std::string user;     ///< whom the web server authenticated
    std::string address;  ///< of the client
    std::string cookies;
    std::string acceptLanguage;
    SiteHeaders site;
    BodyHead body;
};

/// Reads the environment.
CgiRequest ReadCgiRequest();

}  // namespace kos
