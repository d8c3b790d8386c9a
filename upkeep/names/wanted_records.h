// The DNS records that the mail domains need.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/dns_query.h"

namespace upkeep {

enum class RecordUse { kMx, kSpf, kDkim, kDmarc, kService };

struct WantedRecord {
    std::string domain;
    RecordUse use;
    std::string name;
    std::string value;  ///< as in a zone file; of a TXT record the text without quotes
};

/// "MX", "SPF", "DKIM", "DMARC" or "SRV".
const char* WordOf(RecordUse use);

/// The type as in a zone file, and as it is asked for.
const char* TypeWord(RecordUse use);
host::system::DnsType TypeOf(RecordUse use);

/// The mail domains that addresses of users can have.
std::vector<std::string> PublishedDomains(const host::settings::StoredSettings& settings);

/// The records of one domain; `key` is the public one that signs, or empty.
std::vector<WantedRecord> WantedRecords(const host::settings::StoredSettings& settings,
                                        const std::string& domain, const std::string& key);

/// What a record is by the records that were found: "published", "missing", "differs", or "no
/// answer" for none. The contents of SPF and DMARC are the domain's choice: one record is right.
const char* StateOf(const WantedRecord& wanted,
                    const std::optional<std::vector<std::string>>& found);

}  // namespace upkeep
