// UTF-8, by the tables of utf8proc.
#include "host/libhaldcore/utf8.h"

#include <utf8proc.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "host/libhaldcore/error.h"
#include "platform/hlib/text.h"

std::size_t host::CharacterLength(std::string_view text)
{
    if (text.empty()) return 0;
    if (static_cast<unsigned char>(text.front()) < 0x80) return 1;

    utf8proc_int32_t point = 0;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &point);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

bool host::IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

int HLIBCUnicodeUTF8StrUpper(const char* source, char* target, std::size_t targetSize)
{
    if (source == nullptr || target == nullptr || targetSize == 0) return host::Fail(EINVAL);

    const auto* from = reinterpret_cast<const utf8proc_uint8_t*>(source);
    auto left = static_cast<utf8proc_ssize_t>(strlen(source));
    std::size_t used = 0;
    while (left > 0) {
        utf8proc_int32_t point = 0;
        const utf8proc_ssize_t length = utf8proc_iterate(from, left, &point);
        if (length <= 0) return host::Fail(EILSEQ);
        from += length;
        left -= length;

        std::array<utf8proc_uint8_t, 4> upper;
        const auto size =
            static_cast<std::size_t>(utf8proc_encode_char(utf8proc_toupper(point), upper.data()));
        if (size >= targetSize - used) return host::Fail(ENOSPC);
        memcpy(target + used, upper.data(), size);
        used += size;
    }
    target[used] = '\0';
    return 0;
}
