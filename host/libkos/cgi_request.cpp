// The head of a CGI request. Reads environment variables.
#include "host/libkos/cgi_request.h"

#include <cstdlib>

namespace kos {

namespace {

std::optional<std::string> Variable(const char* name)
{
    const char* const text = getenv(name);
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

std::string Text(const char* name)
{
    return Variable(name).value_or("");
}

SiteHeaders ReadSiteHeaders()
{
    SiteHeaders site;
    site.host = Text("HTTP_HOST");
    site.fetchSite = Variable("HTTP_SEC_FETCH_SITE");
    site.origin = Variable("HTTP_ORIGIN");
    site.referer = Variable("HTTP_REFERER");
    site.ownHeader = Variable("HTTP_X_MAILVANE").has_value();
    return site;
}

}  // namespace

CgiRequest ReadCgiRequest()
{
    CgiRequest request;
    request.method = Variable("REQUEST_METHOD").value_or("GET");
    request.query = Text("QUERY_STRING");
    request.user = Text("REMOTE_USER");
    request.address = Text("REMOTE_ADDR");
    request.cookies = Text("HTTP_COOKIE");
    request.acceptLanguage = Text("HTTP_ACCEPT_LANGUAGE");
    request.site = ReadSiteHeaders();
    request.body = DescribeBody({request.method, Text("CONTENT_TYPE"), Text("CONTENT_LENGTH"),
                                 Variable("HTTP_TRANSFER_ENCODING").has_value()});
    return request;
}

}  // namespace kos
