// Listening sockets, and the processes that have them open.
#include "host/libmailvane/daemons/sockets.h"

#include <arpa/inet.h>
#include <dirent.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"

namespace host::daemons {

namespace {

constexpr unsigned kConnected = 0x01;
constexpr unsigned kListening = 0x0a;
constexpr unsigned kTakesCalls = 0x10000;  // flag of a listening unix socket
constexpr unsigned kCalled = 0x03;         // state of a connected one

/// An address from the kernel's tables, as 32-bit words in host byte order. "Any" becomes the
/// loopback.
std::string CallableAddress(const char* hexadecimal)
{
    std::array<std::uint32_t, 4> words = {};
    const bool isIpv6 = std::strlen(hexadecimal) > 8;
    for (std::size_t i = 0; i < (isIpv6 ? words.size() : 1); ++i) {
        const std::string word(hexadecimal + 8 * i, 8);
        words[i] = static_cast<std::uint32_t>(std::strtoul(word.c_str(), nullptr, 16));
    }
    const bool isAny = std::all_of(words.begin(), words.end(), [](auto word) { return word == 0; });
    if (isAny) return isIpv6 ? "::1" : "127.0.0.1";

    std::array<char, INET6_ADDRSTRLEN> text = {};
    (void)inet_ntop(isIpv6 ? AF_INET6 : AF_INET, words.data(), text.data(), text.size());
    return text.data();
}

/// A line of the kernel's table; addresses as it has them.
struct Socket {
    std::string local, remote;
    unsigned port = 0;
    unsigned state = 0;
    Inode inode = 0;
};

bool IsAddress(const std::string& digits)
{
    return digits.size() == 8 || digits.size() == 32;
}

/// Takes one line of the kernel's table:
/// "sl local:port remote:port state queues timer retransmits uid timeout inode ...".
std::optional<Socket> ParseSocket(const char* line)
{
    Socket socket;
    std::array<char, 33> local = {};
    std::array<char, 33> remote = {};
    const int fields = std::sscanf(  // NOLINT(cert-err34-c)
        line, " %*d: %32[0-9A-Fa-f]:%4x %32[0-9A-Fa-f]:%*x %2x %*s %*s %*s %*s %*s %llu",
        local.data(), &socket.port, remote.data(), &socket.state, &socket.inode);
    socket.local = local.data();
    socket.remote = remote.data();
    if (fields != 5 || !IsAddress(socket.local) || !IsAddress(socket.remote)) return std::nullopt;
    return socket;
}

/// Every TCP socket, those of IPv4 first.
Result<std::vector<Socket>> TcpSockets()
{
    std::vector<Socket> sockets;
    for (const char* name : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::string table;
        if (!ReadFile(Path(name), table)) {
            if (errno == ENOENT) continue;
            return SystemReason(name, std::string("cannot read ") + name);
        }
        std::istringstream lines(table);
        for (std::string line; std::getline(lines, line);) {
            if (auto socket = ParseSocket(line.c_str())) sockets.push_back(std::move(*socket));
        }
    }
    return sockets;
}

/// Whether there is a unix socket of this path whose flags and state are as wanted. The server's
/// end of a connection has the path at which it was called.
template <class Question>
bool HasSocket(const std::string& socket, Question isWanted)
{
    std::string table;
    if (!ReadFile(Path("/proc/net/unix"), table)) return false;

    const std::string end = " " + Path(socket);
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() < end.size() ||
            line.compare(line.size() - end.size(), end.size(), end) != 0)
            continue;
        unsigned flags = 0;
        unsigned state = 0;
        const int fields = std::sscanf(  // NOLINT(cert-err34-c)
            line.c_str(), "%*s %*s %*s %8x %*s %2x", &flags, &state);
        if (fields == 2 && isWanted(flags, state)) return true;
    }
    return false;
}

/// The number behind `start`, such as "socket:[" in "socket:[NUMBER]"; 0 when the text does not
/// begin so.
Inode NumberIn(const std::string& target, const char* start)
{
    const std::size_t length = std::strlen(start);
    if (target.compare(0, length, start) != 0) return 0;
    return std::strtoull(target.c_str() + length, nullptr, 10);
}

}  // namespace

Result<std::vector<Listener>> TcpListeners()
{
    const Result<std::vector<Socket>> sockets = TcpSockets();
    if (!sockets) return sockets.reason();

    std::vector<Listener> listeners;
    for (const Socket& socket : *sockets) {
        if (socket.state != kListening) continue;
        listeners.push_back({static_cast<int>(socket.port), socket.inode, socket.local.size() == 32,
                             CallableAddress(socket.local.c_str())});
    }
    return listeners;
}

Result<std::vector<std::string>> TcpClients(int port)
{
    const Result<std::vector<Socket>> sockets = TcpSockets();
    if (!sockets) return sockets.reason();

    std::vector<std::string> addresses;
    for (const Socket& socket : *sockets) {
        if (socket.state != kConnected || static_cast<int>(socket.port) != port) continue;
        addresses.push_back(CallableAddress(socket.remote.c_str()));
    }
    return addresses;
}

bool ListensAt(const std::string& socket)
{
    return HasSocket(socket, [](unsigned flags, unsigned) { return (flags & kTakesCalls) != 0; });
}

bool IsCalledAt(const std::string& socket)
{
    return HasSocket(socket, [](unsigned, unsigned state) { return state == kCalled; });
}

std::set<Inode> OpenSockets(const std::string& process, bool pipes)
{
    std::set<Inode> numbers;
    const std::string folder = process + "/fd";
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.c_str()), ::closedir);
    if (!directory) return numbers;

    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string target = LinkTarget(folder + "/" + entry->d_name);
        Inode number = NumberIn(target, "socket:[");
        if (number == 0 && pipes) number = NumberIn(target, "pipe:[");
        if (number != 0) numbers.insert(number);
    }
    return numbers;
}

}  // namespace host::daemons
