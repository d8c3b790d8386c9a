// Connecting to a service at its port.
#include "tools/hald_service/greeting.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cstdint>

#include "host/libhaldcore/descriptor.h"

namespace service {

namespace {

using host::Descriptor;
using host::daemons::Listener;

constexpr timeval kPatience = {5, 0};

/// A connection; none when it is refused.
Descriptor Call(const Listener& listener)
{
    Descriptor call(socket(listener.isIpv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    (void)setsockopt(call.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    (void)setsockopt(call.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    sockaddr_in6 six = {};
    sockaddr_in four = {};
    six.sin6_family = AF_INET6;
    four.sin_family = AF_INET;
    six.sin6_port = four.sin_port = htons(static_cast<std::uint16_t>(listener.port));
    (void)inet_pton(AF_INET6, listener.address.c_str(), &six.sin6_addr);
    (void)inet_pton(AF_INET, listener.address.c_str(), &four.sin_addr);
    const int result = listener.isIpv6
                           ? connect(call.get(), reinterpret_cast<sockaddr*>(&six), sizeof six)
                           : connect(call.get(), reinterpret_cast<sockaddr*>(&four), sizeof four);
    if (result < 0) call.Close();
    return call;
}

/// The first line of the service, as far as needed to recognise it.
std::string Opening(const Descriptor& call)
{
    std::string line;
    char byte = 0;
    while (line.size() < 512 && recv(call.get(), &byte, 1, 0) == 1 && byte != '\n') line += byte;
    return line;
}

/// The command that ends the connection politely; empty when the service did not greet.
std::string Farewell(const std::string& opening)
{
    if (opening.rfind("* OK", 0) == 0) return "a LOGOUT\r\n";
    for (const char* start : {"220", "421", "+OK"}) {
        if (opening.rfind(start, 0) == 0) return "QUIT\r\n";
    }
    return "";
}

}  // namespace

bool TakesCalls(int port)
{
    return static_cast<bool>(Call({port, 0, false, "127.0.0.1"}));
}

bool Greet(const std::vector<Listener>& listeners)
{
    std::vector<Descriptor> calls;
    for (const Listener& listener : listeners) {
        calls.push_back(Call(listener));
        if (!calls.back()) return false;
    }
    bool allGreet = true;
    for (const Descriptor& call : calls) {
        const std::string farewell = Farewell(Opening(call));
        allGreet = allGreet && !farewell.empty();
        (void)send(call.get(), farewell.data(), farewell.size(), MSG_NOSIGNAL);
    }
    return allGreet;
}

}  // namespace service
