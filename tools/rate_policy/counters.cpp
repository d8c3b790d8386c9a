// Counters of messages, kept in memcached. One command increments or creates the counter and
// returns the rest of its life, so that no count is lost when several programs count.
#include "tools/rate_policy/counters.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "host/libhaldcore/hash.h"

namespace rate_policy {
namespace {

constexpr int kSecondsOfAnHour = 3600;
constexpr long kPatienceInMicroseconds = 500000;
constexpr std::size_t kLongestEncoding = 200;  // of the 250 bytes that a key may have
constexpr std::size_t kLongestLine = 512;

bool IsPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

host::names::SocketAddress ServerAt(const std::string& place)
{
    if (const auto address = host::names::ParseSocketAddress(place)) return *address;

    host::names::SocketAddress address;
    auto* const local = reinterpret_cast<sockaddr_un*>(&address.storage);
    local->sun_family = AF_UNIX;
    (void)std::strncpy(local->sun_path, place.c_str(), sizeof(local->sun_path) - 1);
    address.size = sizeof(*local);
    return address;
}

void SetPatience(int socket)
{
    timeval patience{};
    patience.tv_usec = kPatienceInMicroseconds;
    (void)setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    (void)setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
}

}  // namespace

Counters::Counters(const std::string& place) : server_(ServerAt(place)) {}

Counters::~Counters()
{
    Disconnect();
}

std::string Counters::KeyOf(const std::string& login)
{
    constexpr std::size_t kRoom = 24;
    char text[kRoom];
    std::string key = "sent:";
    for (const char c : login) {
        if (IsPlain(c)) {
            key += c;
        } else {
            std::snprintf(text, sizeof(text), "%%%02x", static_cast<unsigned char>(c));
            key += text;
        }
    }
    if (key.size() <= kLongestEncoding) return key;

    std::snprintf(text, sizeof(text), "%%%%%016" PRIx64, host::Fnv64(login));
    return key.substr(0, kLongestEncoding) + text;
}

std::optional<Count> Counters::Add(const std::string& login)
{
    const std::string life = std::to_string(kSecondsOfAnHour);
    return Ask("ma " + KeyOf(login) + " N" + life + " J1 t v");
}

void Counters::TakeBack(const std::string& login)
{
    (void)Ask("ma " + KeyOf(login) + " MD t v");
}

std::optional<Count> Counters::Ask(const std::string& command)
{
    if (!Connect()) return std::nullopt;

    // "VA <bytes> t<seconds left>", then the number.
    std::optional<std::string> head;
    if (Send(command + "\r\n")) head = ReadLine();
    Count count;
    if (head && std::sscanf(head->c_str(), "VA %*u t%ld", &count.secondsLeft) == 1) {
        const std::optional<std::string> number = ReadLine();
        if (number && std::sscanf(number->c_str(), "%llu", &count.messages) == 1) return count;
    }
    // A late answer would otherwise be read as the answer to the next command.
    Disconnect();
    return std::nullopt;
}

bool Counters::Connect()
{
    if (socket_ >= 0) return true;

    socket_ = socket(server_.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0) return false;

    SetPatience(socket_);  // connect() waits as long as a command may
    if (connect(socket_, server_.get(), server_.size) == 0) return true;
    Disconnect();
    return false;
}

void Counters::Disconnect()
{
    if (socket_ >= 0) (void)close(socket_);
    socket_ = -1;
    pending_.clear();
}

bool Counters::Send(const std::string& bytes) const
{
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return sent == static_cast<ssize_t>(bytes.size());
}

std::optional<std::string> Counters::ReadLine()
{
    for (;;) {
        const auto end = pending_.find("\r\n");
        if (end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 2);
            return line;
        }
        char bytes[kLongestLine];
        const ssize_t got = recv(socket_, bytes, sizeof(bytes), 0);
        if (got <= 0 || pending_.size() > kLongestLine) return std::nullopt;
        pending_.append(bytes, static_cast<std::size_t>(got));
    }
}

}  // namespace rate_policy
