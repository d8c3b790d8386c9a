// DNS queries by the resolver of the C library. Reads /etc/resolv.conf.
#include "host/libmailvane/system/dns_query.h"

#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <netdb.h>
#include <netinet/in.h>
#include <resolv.h>

#include <algorithm>
#include <array>

#include "host/libhaldcore/text.h"

namespace host::system {

namespace {

using Record = std::optional<std::string>;

constexpr int kBeforeTarget = 6;  // bytes of an SRV record

int CodeOf(DnsType type)
{
    switch (type) {
        case DnsType::kAddress:
            return ns_t_a;
        case DnsType::kIpv6Address:
            return ns_t_aaaa;
        case DnsType::kName:
            return ns_t_ptr;
        case DnsType::kMailServer:
            return ns_t_mx;
        case DnsType::kService:
            return ns_t_srv;
        case DnsType::kText:
            break;
    }
    return ns_t_txt;
}

/// Parses an answer of the DNS.
class Answer {
public:
    Answer(const unsigned char* bytes, int size) : start_(bytes), at_(bytes), end_(bytes + size) {}

    /// The texts of all records of a type.
    std::vector<std::string> Records(DnsType type)
    {
        std::vector<std::string> records;
        if (end_ - start_ < NS_HFIXEDSZ) return records;

        const int questions = Number(start_ + 4);
        const int answers = Number(start_ + 6);
        at_ = start_ + NS_HFIXEDSZ;
        for (int i = 0; i < questions; ++i) {
            if (!SkipName() || !Skip(NS_QFIXEDSZ)) return records;
        }
        for (int i = 0; i < answers; ++i) {
            if (!TakeRecord(type, records)) break;
        }
        return records;
    }

private:
    static int Number(const unsigned char* bytes) { return bytes[0] << 8 | bytes[1]; }

    bool Skip(int size)
    {
        if (end_ - at_ < size) return false;
        at_ += size;
        return true;
    }

    bool SkipName() { return Skip(std::max(dn_skipname(at_, end_), 0)) && at_ < end_; }

    /// Parses one record and adds it when it has the type. False at the end or at a damaged record.
    bool TakeRecord(DnsType type, std::vector<std::string>& records)
    {
        if (!SkipName() || end_ - at_ < NS_RRFIXEDSZ) return false;

        const int code = Number(at_);
        const int size = Number(at_ + 8);
        at_ += NS_RRFIXEDSZ;
        const unsigned char* const data = at_;
        if (!Skip(size)) return false;
        if (code != CodeOf(type)) return true;

        if (const Record record = Text(type, data, size)) records.push_back(*record);
        return true;
    }

    Record Text(DnsType type, const unsigned char* data, int size) const
    {
        switch (type) {
            case DnsType::kAddress:
                return size == NS_INADDRSZ ? Address(AF_INET, data) : std::nullopt;
            case DnsType::kIpv6Address:
                return size == NS_IN6ADDRSZ ? Address(AF_INET6, data) : std::nullopt;
            case DnsType::kName:
                return Name(data);
            case DnsType::kMailServer:
                return size > 2 ? Name(data + 2) : std::nullopt;
            case DnsType::kService:
                return size > kBeforeTarget ? Service(data) : std::nullopt;
            case DnsType::kText:
                break;
        }
        return Parts(data, size);
    }

    static Record Address(int family, const unsigned char* data)
    {
        char text[INET6_ADDRSTRLEN];
        if (inet_ntop(family, data, text, sizeof text) == nullptr) return std::nullopt;
        return text;
    }

    Record Name(const unsigned char* data) const
    {
        char text[NS_MAXDNAME];
        if (dn_expand(start_, end_, data, text, sizeof text) < 0) return std::nullopt;
        return InLowerCase(text);
    }

    /// Priority, weight and port, two bytes each, then the name.
    Record Service(const unsigned char* data) const
    {
        const Record target = Name(data + kBeforeTarget);
        if (!target) return std::nullopt;
        return std::to_string(Number(data + 4)).append(" ").append(*target);
    }

    /// The parts of a TXT record, each preceded by a byte with its length, joined.
    static Record Parts(const unsigned char* data, int size)
    {
        std::string text;
        for (int at = 0; at < size; at += data[at] + 1) {
            const int length = std::min<int>(data[at], size - at - 1);
            text.append(data + at + 1, data + at + 1 + length);
        }
        return text;
    }

    const unsigned char* start_;
    const unsigned char* at_;
    const unsigned char* end_;
};

}  // namespace

std::optional<std::vector<std::string>> DnsRecords(const std::string& name, DnsType type)
{
    struct __res_state resolver = {};
    if (res_ninit(&resolver) < 0) return std::nullopt;

    resolver.retrans = 1;
    resolver.retry = 2;
    std::array<unsigned char, NS_MAXMSG> bytes;
    const int size = res_nquery(&resolver, name.c_str(), ns_c_in, CodeOf(type), bytes.data(),
                                static_cast<int>(bytes.size()));
    const int failure = resolver.res_h_errno;
    res_nclose(&resolver);
    if (size < 0) {
        if (failure != HOST_NOT_FOUND && failure != NO_DATA) return std::nullopt;
        return std::vector<std::string>();
    }
    return Answer(bytes.data(), std::min<int>(size, static_cast<int>(bytes.size()))).Records(type);
}

std::optional<std::vector<std::string>> DnsAddresses(const std::string& name)
{
    auto addresses = DnsRecords(name, DnsType::kAddress);
    if (!addresses) return std::nullopt;

    const auto more = DnsRecords(name, DnsType::kIpv6Address);
    if (!more) return std::nullopt;

    addresses->insert(addresses->end(), more->begin(), more->end());
    return addresses;
}

std::string ReverseName(const std::string& address, const std::string& zone)
{
    std::string name = zone;
    in6_addr bytes = {};
    if (inet_pton(AF_INET6, address.c_str(), &bytes) == 1) {
        constexpr char digits[] = "0123456789abcdef";
        for (const unsigned byte : bytes.s6_addr) {
            name.insert(0, {digits[byte % 16], '.', digits[byte / 16], '.'});
        }
        return name;
    }
    std::string::size_type start = 0;
    while (start <= address.size()) {
        const auto dot = std::min(address.find('.', start), address.size());
        name.insert(0, address.substr(start, dot - start) + ".");
        start = dot + 1;
    }
    return name;
}

std::string ReverseName(const std::string& address)
{
    const bool isIpv6 = address.find(':') != std::string::npos;
    return ReverseName(address, isIpv6 ? "ip6.arpa" : "in-addr.arpa");
}

}  // namespace host::system
