// Fuzz target: what a name server answers.
#include <resolv.h>

#include <algorithm>
#include <cstring>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/system/dns_query.h"
#include "tests/fuzz/fuzz.h"

namespace {

std::string_view answer;

}  // namespace

/// In place of the C library's own: no question leaves the process.
int res_nquery(res_state /*state*/, const char* /*name*/, int /*kind*/, int /*type*/,
               unsigned char* bytes, int room)
{
    std::memcpy(bytes, answer.data(), std::min(answer.size(), static_cast<std::size_t>(room)));
    return static_cast<int>(answer.size());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using host::system::DnsType;
    answer = fuzz::Text(data, size);
    for (const DnsType type : {DnsType::kAddress, DnsType::kIpv6Address, DnsType::kName,
                               DnsType::kMailServer, DnsType::kText, DnsType::kService}) {
        const auto records = host::system::DnsRecords("a.test", type);
        fuzz::Expect(records.has_value());
        for (const std::string& record : *records) {
            fuzz::Expect(record.size() <= size || type != DnsType::kText);
            fuzz::Expect(record == host::InLowerCase(record) || type == DnsType::kText);
        }
    }
    return 0;
}
