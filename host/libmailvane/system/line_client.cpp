// A client of a line protocol.
#include "host/libmailvane/system/line_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstdint>
#include <cstring>

namespace host::system {

namespace {

constexpr int kPatience = 3;  // seconds
constexpr std::size_t kLongestLine = 2000;

/// A socket address of IPv4 or IPv6.
struct SocketName {
    SocketName(const char* address, int port)
    {
        const std::uint16_t number = htons(static_cast<std::uint16_t>(port));
        auto* const four = reinterpret_cast<sockaddr_in*>(&storage);
        auto* const six = reinterpret_cast<sockaddr_in6*>(&storage);
        if (inet_pton(AF_INET6, address, &six->sin6_addr) == 1) {
            six->sin6_family = AF_INET6;
            six->sin6_port = number;
            size = sizeof *six;
        } else if (inet_pton(AF_INET, address, &four->sin_addr) == 1) {
            four->sin_family = AF_INET;
            four->sin_port = number;
            size = sizeof *four;
        }
    }

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }

    sockaddr_storage storage = {};
    socklen_t size = 0;
};

}  // namespace

LineClient::LineClient(int port, const char* from)
{
    const SocketName source(from, 0);
    const int family = source.storage.ss_family;
    const SocketName server(family == AF_INET6 ? "::1" : "127.0.0.1", port);
    socket_ = Descriptor(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!SetPatience() || bind(socket_.get(), source.get(), source.size) < 0 ||
        connect(socket_.get(), server.get(), server.size) < 0) {
        socket_.Close();
    }
}

LineClient::LineClient(const char* path) : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    (void)std::strncpy(name.sun_path, path, sizeof name.sun_path - 1);
    if (!SetPatience() ||
        connect(socket_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) < 0) {
        socket_.Close();
    }
}

LineClient::LineClient(const names::SocketAddress& server)
    : socket_(socket(server.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    if (!SetPatience() || connect(socket_.get(), server.get(), server.size) < 0) socket_.Close();
}

bool LineClient::SetPatience()
{
    const timeval patience = {kPatience, 0};
    return setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) == 0 &&
           setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) == 0;
}

std::optional<std::string> LineClient::ReadLine()
{
    std::string line;
    char byte = 0;
    while (line.size() < kLongestLine && recv(socket_.get(), &byte, 1, 0) == 1) {
        if (byte == '\n') {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            return line;
        }
        line += byte;
    }
    return std::nullopt;
}

void LineClient::SendBytes(const std::string& bytes)
{
    (void)send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::string LineClient::ReadBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    const ssize_t got = recv(socket_.get(), bytes.data(), size, MSG_WAITALL);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

std::optional<std::string> LineClient::Ask(const std::string& line)
{
    Send(line);
    std::optional<std::string> reply = ReadLine();
    while (reply && reply->size() > 3 && (*reply)[3] == '-') reply = ReadLine();
    return reply;
}

}  // namespace host::system
