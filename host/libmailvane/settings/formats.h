// The formats of texts: each is one check, under the name by which the documents refer to it.
#pragma once

#include <string>

#include "host/libmailvane/names/text_checks.h"

namespace host::settings {

struct Format {
    const char* name;
    bool (*accepts)(const std::string&);
    const char* meaning;
};

inline constexpr Format kPlainText{"plain", names::IsPlainText, "no control characters"};
inline constexpr Format kHostName{"hostname", names::IsHostName,
                                  "a host name: labels of letters, digits and hyphens"};
inline constexpr Format kHostNameOrEmpty{"hostname-or-empty", names::IsHostNameOrEmpty,
                                         "a host name or nothing"};
inline constexpr Format kHostOrAddressOrEmpty{
    "host-or-address-or-empty", names::IsHostOrAddressOrEmpty,
    "a host name, an IP address, also in brackets, or nothing"};
inline constexpr Format kLabel{"label", names::IsLabel,
                               "letters, digits and hyphens within, at most 63"};
inline constexpr Format kShortDomainOrEmpty{"short-domain-or-empty", names::IsShortDomainOrEmpty,
                                            "letters, digits, hyphens and underscores, or nothing"};
inline constexpr Format kRelayAccount{"relay-account", names::IsRelayAccount,
                                      "no control characters and no colon"};

}  // namespace host::settings
