// The head of a CGI request: environment variables set by the web server (RFC 3875).
#pragma once

#include <string>

#include "host/libkos/body_head.h"
#include "host/libkos/cross_site.h"

namespace kos {

/// Texts are empty when absent. All except `user` come from the client and may be anything.
struct CgiRequest {
    std::string method;  ///< "GET" when absent, as when run by hand
    std::string query;
    std::string user;     ///< authenticated by the web server
    std::string address;  ///< of the client
    std::string cookies;
    std::string acceptLanguage;
    SiteHeaders site;
    BodyHead body;
};

/// Reads the environment variables.
CgiRequest ReadCgiRequest();

}  // namespace kos
