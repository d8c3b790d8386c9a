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

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"

namespace host::daemons {

namespace {

constexpr unsigned kListening = 0x0a;
constexpr unsigned kTakesCalls = 0x10000;  // flag of a listening unix socket

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

/// Parses one line of the kernel's table:
/// "sl local:port remote:port state queues timer retransmits uid timeout inode ...".
std::optional<Listener> ParseSocket(const char* line)
{
    unsigned port = 0;
    unsigned state = 0;
    Inode inode = 0;
    std::array<char, 33> address = {};
    const int fields = std::sscanf(  // NOLINT(cert-err34-c)
        line, " %*d: %32[0-9A-Fa-f]:%4x %*s %2x %*s %*s %*s %*s %*s %llu", address.data(), &port,
        &state, &inode);
    if (fields != 4 || state != kListening) return std::nullopt;
    const std::size_t digits = std::strlen(address.data());
    if (digits != 8 && digits != 32) return std::nullopt;
    return Listener{static_cast<int>(port), inode, digits == 32, CallableAddress(address.data())};
}

void AddListeners(const char* name, std::vector<Listener>& listeners)
{
    std::string table;
    if (!ReadFile(Path(name), table)) {
        if (errno != ENOENT) Log(LOG_ERR, "cannot read %s: %s", name, ErrnoText());
        return;
    }
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (const auto listener = ParseSocket(line.c_str())) listeners.push_back(*listener);
    }
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

std::vector<Listener> TcpListeners()
{
    std::vector<Listener> listeners;
    AddListeners("/proc/net/tcp", listeners);
    AddListeners("/proc/net/tcp6", listeners);
    return listeners;
}

bool ListensAt(const std::string& socket)
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
        const int fields =
            std::sscanf(line.c_str(), "%*s %*s %*s %8x", &flags);  // NOLINT(cert-err34-c)
        if (fields == 1 && (flags & kTakesCalls) != 0) return true;
    }
    return false;
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
