// Several DNS queries at once, within a limit.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/libmailvane/system/dns_query.h"

namespace host::system {

struct DnsQuestion {
    std::string name;
    DnsType type;
};

/// The most bytes of an answer that are looked at.
constexpr std::size_t kLongestDnsAnswer = 32768;

/// What `DnsRecords` says to each question, in the same order; also nothing for a question that
/// has no answer within `limit`. Each is asked in a child without rights, which is killed then.
std::vector<std::optional<std::vector<std::string>>> AskInParallel(
    const std::vector<DnsQuestion>& questions, std::chrono::milliseconds limit);

}  // namespace host::system
