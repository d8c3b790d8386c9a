// hald_attachment_names: tells Postfix which headers of attachments are refused. Postfix runs it by
// spawn(8) and asks it by the protocol of socketmap_table(5), on standard input and output. What is
// asked about is "types|header", the refused types with blanks between them.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tools/attachment_names/names.h"

namespace {

constexpr std::size_t kLongestRequest = std::size_t{1} << 20;

/// Reads a netstring, `5:hello,`; false at the end, and when it is none.
bool ReadNetstring(std::string& text)
{
    std::size_t size = 0;
    int c = std::getchar();
    for (; c >= '0' && c <= '9' && size <= kLongestRequest; c = std::getchar()) {
        size = size * 10 + static_cast<std::size_t>(c - '0');
    }
    if (c != ':' || size > kLongestRequest) return false;

    text.resize(size);
    return std::fread(text.data(), 1, size, stdin) == size && std::getchar() == ',';
}

/// The answer to "map types|header".
std::string Answer(const std::string& request)
{
    const auto start = request.find(' ');
    const auto end = request.find('|');
    if (end == std::string::npos || start > end) return "PERM this is no header";

    std::istringstream words(request.substr(start, end - start));
    std::vector<std::string> types;
    for (std::string type; words >> type;) types.push_back(type);
    const std::string refusal = attachment_names::Refusal(request.substr(end + 1), types);
    return refusal.empty() ? "NOTFOUND " : "OK REJECT " + refusal;
}

}  // namespace

int main()
{
    for (std::string request; ReadNetstring(request);) {
        const std::string answer = Answer(request);
        std::printf("%zu:%s,", answer.size(), answer.c_str());
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
