// Protection against cross-site requests (CSRF): those that another site makes the browser send.
#pragma once

#include <optional>
#include <string>

namespace kos {

/// The headers that tell which site a request came from; unchecked.
struct SiteHeaders {
    std::string host;                      ///< with port; empty when absent
    std::optional<std::string> fetchSite;  ///< Sec-Fetch-Site
    std::optional<std::string> origin;
    std::optional<std::string> referer;
    bool ownHeader = false;  ///< X-Mailvane is present; forms of other sites cannot add it
};

enum class SiteVerdict {
    kPass,     ///< go on
    kForeign,  ///< sent by a page of another site
    kUnproven  ///< changes something without proof of its site
};

/// Decides by Sec-Fetch-Site, which browsers send over HTTPS and loopback, else by Origin or
/// Referer. Without any, as from curl, the request passes, unless `needsProof` (it changes
/// something, and a form could send it): then it must be same-origin or have X-Mailvane.
SiteVerdict JudgeSite(const SiteHeaders& headers, bool needsProof);

}  // namespace kos
