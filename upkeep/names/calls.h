// Calls about the DNS records of the mail domains.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `dns_records`: the records to publish for each mail domain. Asks nobody. Answers `records`
/// (`domain`, `use`, `name`, `type`, `value`, and `optional` for those that only help mail
/// programs) and `notes`, codes of what else there is to know, with what they are `about`: "host"
/// (its address is needed besides), "relay" (mail leaves by it, which belongs into SPF), "no_key"
/// and "not_signed".
Answer DnsRecordsToPublish(const Request& request);

/// `dns_check`: what the name servers of this machine answer now for the records of the mail domain
/// `domain`: as `dns_records`, each with its `state` ("published", "missing", "differs" or "no
/// answer") and what was `found`. Takes at most 5 seconds.
Answer DnsCheck(const Request& request);

}  // namespace upkeep
