// The program's lines in the system log.
#include "frame/log.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

void LogError(int line, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);

    std::string text(length > 0 ? static_cast<std::string::size_type>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    syslog(LOG_ERR, "%s:%d %s", "mailvane", line, text.c_str());
    // Tools that make a request at a console set the variable and see the line there as well.
    if (std::getenv("MAILVANE_ECHO_LOG") == nullptr) return;
    (void)std::fprintf(stderr, "<%d>mailvane:%d %s\n", LOG_ERR, line, text.c_str());
}
