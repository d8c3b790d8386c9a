// hald_from_check: a milter that refuses mail of unknown clients unless it has exactly one From
// field with one domain. The DMARC policy of a domain does not apply to other mail, which would so
// bypass it. Postfix runs it by spawn(8), once a session; it speaks the milter protocol (version 6)
// on standard input and output.
//
//   hald_from_check ADDRESS...
//
// Clients with these addresses, and those that have logged in, are not checked.
#include <arpa/inet.h>
#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "tools/from_check/authors.h"

namespace {

// Commands of the mail server, and replies.
constexpr char kNegotiate = 'O';
constexpr char kMacros = 'D';
constexpr char kConnect = 'C';
constexpr char kSender = 'M';
constexpr char kHeader = 'L';
constexpr char kEndOfHeaders = 'N';
constexpr char kEndOfMessage = 'E';
constexpr char kAbort = 'A';
constexpr char kContinue = 'c';
constexpr char kRefuse = 'y';

// The steps left out. Not sent: HELO, recipients, body, unknown commands, DATA. Sent, but not
// replied to: headers, client, sender.
constexpr std::uint32_t kSteps = 0x02 | 0x08 | 0x10 | 0x100 | 0x200 | 0x80 | 0x1000 | 0x4000;
constexpr std::uint32_t kVersion = 6;
constexpr std::uint32_t kLongestPacket = 1 << 20;

const char kRefusal[] =
    "550 5.7.1 A message must have exactly one From field, with authors of one domain";

bool ReadWhole(char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = read(STDIN_FILENO, bytes, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

/// Reads a command with its data; false at the end.
bool ReadPacket(std::string& packet)
{
    std::uint32_t size = 0;
    if (!ReadWhole(reinterpret_cast<char*>(&size), sizeof(size))) return false;

    size = ntohl(size);
    if (size == 0 || size > kLongestPacket) return false;
    packet.resize(size);
    return ReadWhole(packet.data(), size);
}

bool WritePacket(char answer, const std::string& data)
{
    const std::uint32_t size = htonl(static_cast<std::uint32_t>(data.size() + 1));
    std::string packet(reinterpret_cast<const char*>(&size), sizeof(size));
    packet += answer + data;
    return write(STDOUT_FILENO, packet.data(), packet.size()) ==
           static_cast<ssize_t>(packet.size());
}

std::string Number(std::uint32_t number)
{
    number = htonl(number);
    return {reinterpret_cast<const char*>(&number), sizeof(number)};
}

/// Removes and returns the text up to the next NUL.
std::string Take(std::string& data)
{
    std::string text = data.substr(0, data.find('\0'));
    data.erase(0, text.size() + 1);
    return text;
}

class Session {
public:
    explicit Session(std::set<std::string> own) : own_(std::move(own)) {}

    /// Handles a command; false when the session ends or violates the protocol.
    bool Handle(char command, std::string data)
    {
        switch (command) {
            case kNegotiate:
                return Negotiate(data);
            case kConnect:
                return SetClient(std::move(data));
            case kMacros:
                return SetLogin(std::move(data));
            case kSender:
            case kAbort:
                fields_ = 0;
                return true;
            case kHeader:
                return Count(std::move(data));
            case kEndOfHeaders:
                return Answer();
            case kEndOfMessage:
                return WritePacket(kContinue, "");
            default:
                return false;
        }
    }

private:
    static bool Negotiate(const std::string& data)
    {
        std::uint32_t offer[3];  // version, changes, steps
        if (data.size() != sizeof(offer)) return false;

        std::memcpy(offer, data.data(), sizeof(offer));
        if (ntohl(offer[0]) < kVersion || (ntohl(offer[2]) & kSteps) != kSteps) return false;
        return WritePacket(kNegotiate, Number(kVersion) + Number(0) + Number(kSteps));
    }

    bool SetClient(std::string data)
    {
        constexpr std::size_t kFamilyAndPort = 3;
        const std::string prefix = "IPv6:";
        (void)Take(data);  // the name
        data.erase(0, kFamilyAndPort);
        std::string address = Take(data);
        if (address.compare(0, prefix.size(), prefix) == 0) address.erase(0, prefix.size());
        isStranger_ = isStranger_ && own_.count(address) == 0;
        return true;
    }

    /// Notes a login, which applies to the whole session.
    bool SetLogin(std::string data)
    {
        if (data.empty() || data.front() != kSender) return true;

        data.erase(0, 1);
        while (!data.empty()) {
            const std::string name = Take(data);
            const std::string value = Take(data);
            if (name == "{auth_authen}" && !value.empty()) isStranger_ = false;
        }
        return true;
    }

    bool Count(std::string data)
    {
        if (strcasecmp(Take(data).c_str(), "From") != 0) return true;

        ++fields_;
        from_ = Take(data);
        return true;
    }

    bool Answer() const
    {
        const bool isGood = fields_ == 1 && !from_check::DomainOfAuthors(from_).empty();
        if (!isStranger_ || isGood) return WritePacket(kContinue, "");
        return WritePacket(kRefuse, {kRefusal, sizeof(kRefusal)});
    }

    std::set<std::string> own_;
    bool isStranger_ = true;
    int fields_ = 0;
    std::string from_;
};

}  // namespace

int main(int count, char** arguments)
{
    Session session({arguments + 1, arguments + count});
    for (std::string packet; ReadPacket(packet);) {
        if (!session.Handle(packet.front(), packet.substr(1))) break;
    }
    return EXIT_SUCCESS;
}
