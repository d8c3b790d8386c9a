// Character sets, by iconv.
#include "upkeep/mail_text/charset.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

constexpr std::size_t kLongestName = 40;

struct Close {
    using pointer = iconv_t;
    void operator()(iconv_t converter) const { (void)iconv_close(converter); }
};
using Converter = std::unique_ptr<iconv_t, Close>;

/// Whether a name is one of a set, and nothing else that iconv takes, such as "//" and what
/// follows.
bool IsCharset(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestName &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return host::IsLetterOrDigit(c) || c == '-' || c == '_' || c == '.' || c == ':';
           });
}

}  // namespace

std::string ToUtf8(const std::string& charset, const std::string& text)
{
    const std::string name = host::InLowerCase(charset);
    if (!IsCharset(name) || name == "utf-8" || name == "us-ascii") return text;
    const iconv_t opened = iconv_open("UTF-8", name.c_str());
    if (reinterpret_cast<std::intptr_t>(opened) == -1) return text;

    const Converter converter(opened);
    std::string from = text;
    std::string converted;
    char* in = from.data();
    std::size_t left = from.size();
    std::array<char, 4096> buffer;
    while (left > 0) {
        char* out = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t before = left;
        (void)iconv(converter.get(), &in, &left, &out, &room);
        converted.append(buffer.data(), buffer.size() - room);
        if (left != before || room != buffer.size()) continue;
        converted += *in++;  // no text of this set
        --left;
    }
    return converted;
}

}  // namespace upkeep
