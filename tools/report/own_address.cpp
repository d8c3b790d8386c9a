// Which addresses are this machine's. Asks the kernel, without sending anything.
#include "tools/report/own_address.h"

#include <ifaddrs.h>
#include <netinet/in.h>

#include <cstring>
#include <memory>
#include <optional>

#include "host/libhaldcore/descriptor.h"

namespace report {

namespace {

/// The address alone; that of IPv4 as it is mapped into IPv6. Nothing for another family.
std::optional<in6_addr> AddressOf(const sockaddr* address)
{
    in6_addr plain{};
    if (address == nullptr) return std::nullopt;
    if (address->sa_family == AF_INET6) {
        return reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    }
    if (address->sa_family != AF_INET) return std::nullopt;
    plain.s6_addr[10] = plain.s6_addr[11] = 0xff;
    const in_addr& four = reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    std::memcpy(&plain.s6_addr[12], &four, sizeof(four));
    return plain;
}

bool AreSame(const in6_addr& one, const in6_addr& other)
{
    return std::memcmp(&one, &other, sizeof(one)) == 0;
}

/// Loopback, or the wildcard, which leads there.
bool IsLoopback(const in6_addr& address)
{
    if (IN6_IS_ADDR_V4MAPPED(&address)) {
        return address.s6_addr[12] == 127 || address.s6_addr[12] == 0;
    }
    return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_UNSPECIFIED(&address);
}

bool IsOfInterface(const in6_addr& wanted)
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) < 0) return true;  // whoever cannot be asked is not trusted
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, freeifaddrs);
    for (const ifaddrs* one = first; one != nullptr; one = one->ifa_next) {
        const std::optional<in6_addr> address = AddressOf(one->ifa_addr);
        if (address && AreSame(*address, wanted)) return true;
    }
    return false;
}

/// The address from which this machine would speak to another one.
std::optional<in6_addr> OwnEnd(const sockaddr* to, socklen_t size)
{
    const host::Descriptor end(socket(to->sa_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage own{};
    socklen_t ownSize = sizeof(own);
    auto* const ownAddress = reinterpret_cast<sockaddr*>(&own);
    if (!end || connect(end.get(), to, size) < 0 ||
        getsockname(end.get(), ownAddress, &ownSize) < 0) {
        return std::nullopt;
    }
    return AddressOf(ownAddress);
}

}  // namespace

bool IsOwnAddress(const sockaddr* address, socklen_t size)
{
    const std::optional<in6_addr> wanted = AddressOf(address);
    if (!wanted) return true;
    if (IsLoopback(*wanted) || IsOfInterface(*wanted)) return true;
    // The machine speaks to itself from the very address, or by loopback.
    const std::optional<in6_addr> own = OwnEnd(address, size);
    return own && (IsLoopback(*own) || AreSame(*own, *wanted));
}

}  // namespace report
