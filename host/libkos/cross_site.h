// Requests that a page of another site made the administrator's browser send.
#pragma once

#include <optional>
#include <string>

namespace kos {

/// What a request tells about the page it came from; each may hold anything.
struct SiteHeaders {
    std::string host;                      ///< Host, port included; empty when absent
    std::optional<std::string> fetchSite;  ///< Sec-Fetch-Site
    std::optional<std::string> origin;
    std::optional<std::string> referer;
    bool ownHeader = false;  ///< X-Mailvane is there, which no foreign page can add
};

enum class SiteVerdict {
    kPass,     ///< go on
    kForeign,  ///< sent by a page of another site
    kUnproven  ///< changes something and does not prove where it came from
};

/// Browsers tell the kind of site in Sec-Fetch-Site (over HTTPS or loopback), else in Origin or
/// Referer; programs like curl tell nothing and pass. A request with `needsProof`, one that changes
/// something and that a foreign form could send, must be same-origin or have X-Mailvane.
SiteVerdict JudgeSite(const SiteHeaders& headers, bool needsProof);

}  // namespace kos
