// Keys and certificates in PEM format.
#include "host/libhaldcore/pem.h"

namespace host {

namespace {

std::string Mark(const char* side, std::string_view kind)
{
    return std::string("-----").append(side).append(kind).append("-----");
}

}  // namespace

std::string_view PemBlock(std::string_view text, std::string_view kind)
{
    const std::string last = Mark("END ", kind);
    const std::size_t start = text.find(Mark("BEGIN ", kind));
    const std::size_t end = text.find(last, start);
    if (end == std::string_view::npos) return {};
    return text.substr(start, end + last.size() - start);
}

std::string PemBody(std::string_view text, std::string_view kind)
{
    const std::string_view block = PemBlock(text, kind);
    if (block.empty()) return "";

    const std::size_t start = Mark("BEGIN ", kind).size();
    const std::size_t size = block.size() - start - Mark("END ", kind).size();
    std::string body;
    for (const char c : block.substr(start, size)) {
        if (c != '\n' && c != '\r') body += c;
    }
    return body;
}

}  // namespace host
