// Protection against cross-site requests (CSRF).
#include "host/libkos/cross_site.h"

#include <algorithm>
#include <string_view>

#include "host/libkos/text.h"

namespace kos {

namespace {

/// "host:port" in lower case; the port defaults to that of the scheme. Nothing when the text is
/// invalid or has a user name: "me@host".
std::optional<std::string> WithPort(std::string_view authority, std::string_view defaultPort)
{
    constexpr std::string_view kAllowed =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-_:[]";
    if (authority.empty() || authority.find_first_not_of(kAllowed) != std::string_view::npos) {
        return std::nullopt;
    }

    // A colon before "]" is part of an IPv6 address.
    const std::size_t colon = authority.rfind(':');
    const bool hasPort =
        colon != std::string_view::npos && authority.find(']', colon) == std::string_view::npos;
    std::string text = InLowerCase(authority);
    if (!hasPort) text.append(":").append(defaultPort);
    return text;
}

/// Whether a URL (a Referer, or an Origin, which is a URL without path) has this host.
bool NamesHost(std::string_view url, const std::string& host)
{
    constexpr std::string_view kPlain = "http://";
    constexpr std::string_view kSecure = "https://";
    const bool secure = url.substr(0, kSecure.size()) == kSecure;
    if (!secure && url.substr(0, kPlain.size()) != kPlain) return false;

    url.remove_prefix(secure ? kSecure.size() : kPlain.size());
    const std::string_view port = secure ? "443" : "80";
    const std::string_view authority =
        url.substr(0, std::min(url.find_first_of("/?#"), url.size()));
    const std::optional<std::string> theirs = WithPort(authority, port);
    return theirs && theirs == WithPort(host, port);
}

}  // namespace

SiteVerdict JudgeSite(const SiteHeaders& headers, bool needsProof)
{
    if (headers.fetchSite == "same-origin") return SiteVerdict::kPass;
    if (headers.fetchSite && *headers.fetchSite != "none") return SiteVerdict::kForeign;

    const auto namesOther = [&](const std::optional<std::string>& url) {
        return url && !NamesHost(*url, headers.host);
    };
    const bool other = namesOther(headers.origin) || namesOther(headers.referer);
    if (other && !headers.fetchSite) return SiteVerdict::kForeign;

    const bool ownPage = !other && (headers.origin || headers.referer);
    return needsProof && !ownPage && !headers.ownHeader ? SiteVerdict::kUnproven
                                                        : SiteVerdict::kPass;
}

}  // namespace kos
