// hald_metrics: numbers about the mail server for monitoring, as OpenMetrics text.
//
//   hald_metrics         writes them to standard output
//   hald_metrics FILE    replaces FILE by them, in one step: everybody may read it
//
// Exit status: 0 when they were written, 1 when they could not be, 2 for wrong arguments.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "tools/metrics/sources.h"

int main(int count, char** arguments)
{
    if (count > 2) {
        (void)std::fputs("usage: hald_metrics [FILE]\n", stderr);
        return 2;
    }
    const std::string text = metrics::Gather(static_cast<std::int64_t>(std::time(nullptr)));
    const bool written = count == 2 ? host::ReplaceFile(arguments[1], text, 0644)
                                    : host::WriteAll(STDOUT_FILENO, text);
    if (written) return EXIT_SUCCESS;
    host::Log(LOG_ERR, "metrics: cannot be written: %s", host::ErrnoText());
    return EXIT_FAILURE;
}
