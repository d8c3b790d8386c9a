// Unpredictable texts.
#include "host/libhaldcore/random_text.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <system_error>

namespace host {

std::string RandomDigits()
{
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    std::array<char, 17> text{};
    (void)std::snprintf(text.data(), text.size(), "%016" PRIx64, number);
    return text.data();
}

}  // namespace host
