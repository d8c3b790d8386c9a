// A client of a line protocol on this machine.
#include "host/libmailvane/line_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstdint>
#include <cstring>

namespace host {

namespace {

constexpr int kPatience = 3;  // seconds
constexpr std::size_t kLongestLine = 2000;

sockaddr_in AddressOf(const char* address, int port)
{
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    (void)inet_pton(AF_INET, address, &name.sin_addr);
    return name;
}

}  // namespace

LineClient::LineClient(int port, const char* from)
    : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in source = AddressOf(from, 0);
    const sockaddr_in server = AddressOf("127.0.0.1", port);
    const auto* const sourceName = reinterpret_cast<const sockaddr*>(&source);
    const auto* const serverName = reinterpret_cast<const sockaddr*>(&server);
    if (!SetPatience() || bind(socket_.get(), sourceName, sizeof source) < 0 ||
        connect(socket_.get(), serverName, sizeof server) < 0) {
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

}  // namespace host
