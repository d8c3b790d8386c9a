// UTF-8, by the tables of utf8proc.
#include "host/libhaldcore/utf8.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/text.h"
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

namespace {

/// Whether a character of two bytes or more is a control character, U+0080 to U+009F.
bool IsLongControl(std::string_view character)
{
    return character.size() == 2 && character[0] == '\xc2' &&
           static_cast<unsigned char>(character[1]) < 0xa0;
}

/// Whether a character turns the direction of text: U+202A to U+202E, U+2066 to U+2069.
bool TurnsDirection(std::string_view character)
{
    if (character.size() != 3 || character[0] != '\xe2') return false;
    const auto last = static_cast<unsigned char>(character[2]);
    return (character[1] == '\x80' && last >= 0xaa && last <= 0xae) ||
           (character[1] == '\x81' && last >= 0xa6 && last <= 0xa9);
}

}  // namespace

std::string host::ShownText(std::string_view bytes, std::size_t most)
{
    constexpr std::string_view kReplacement = "\xef\xbf\xbd";
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = CharacterLength(bytes);
        std::string_view character = bytes.substr(0, std::max<std::size_t>(length, 1));
        bytes.remove_prefix(character.size());
        if (length == 0 || TurnsDirection(character)) {
            character = kReplacement;
        } else if (IsControl(character.front()) || IsLongControl(character)) {
            character = " ";
        }
        if (text.size() + character.size() > most) break;
        text += character;
    }
    return text;
}

int HLIBCUnicodeUTF8StrUpper(const char* source, char* target, std::size_t targetSize)
{
    if (source == nullptr || target == nullptr || targetSize == 0) return host::Fail(EINVAL);

    const auto* from = reinterpret_cast<const utf8proc_uint8_t*>(source);
    auto left = static_cast<utf8proc_ssize_t>(strlen(source));
    std::size_t used = 0;
    while (left > 0) {
        if (*from < 0x80) {  // most names are of these alone
            if (targetSize - used < 2) return host::Fail(ENOSPC);
            const bool isSmall = *from >= 'a' && *from <= 'z';
            target[used++] = static_cast<char>(isSmall ? *from - 'a' + 'A' : *from);
            ++from;
            --left;
            continue;
        }
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
