// The system log. Writes to syslog under the program's name.
#include "host/libhaldcore/log.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/libhaldcore/text.h"

void host::Log(int priority, const char* format, ...)
{
    const int saved = errno;
    std::array<char, 1024> line;
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);

    if (length >= 0) {
        for (char* at = line.data(); *at != '\0'; ++at) {
            if (IsControl(*at)) *at = '?';
        }
        syslog(priority, "mailvane: %s", line.data());
        if (getenv("MAILVANE_ECHO_LOG") != nullptr) {
            (void)fprintf(stderr, "<%d>mailvane: %s\n", priority, line.data());
        }
    }
    errno = saved;
}

const char* host::ErrnoText()
{
    const char* text = strerrordesc_np(errno);
    return text == nullptr ? "unknown error" : text;
}
