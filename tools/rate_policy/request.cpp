// A policy request of Postfix.
#include "tools/rate_policy/request.h"

namespace rate_policy {
namespace {

constexpr std::size_t kLongestRequest = std::size_t{64} * 1024;

/// Reads a line without its line end, of at most `room` bytes; false when there is none.
bool ReadLine(std::FILE* input, std::size_t room, std::string& line)
{
    line.clear();
    for (int c = std::getc(input); c != EOF; c = std::getc(input)) {
        if (c == '\n') return true;
        if (line.size() >= room) return false;
        line += static_cast<char>(c);
    }
    return false;
}

}  // namespace

bool ReadRequest(std::FILE* input, Attributes& attributes)
{
    attributes.clear();
    std::size_t room = kLongestRequest;
    for (std::string line; ReadLine(input, room, line);) {
        if (line.empty()) return true;

        room -= line.size();
        const auto equals = line.find('=');
        if (equals == std::string::npos) continue;
        attributes[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return false;
}

}  // namespace rate_policy
