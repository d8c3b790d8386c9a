// A damaged database of the mail log.
#include "tools/maillog_collector/damaged_log.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/maillog/schema.h"

namespace collector {

host::Result<void> PutDamagedAside()
{
    const std::string live = host::maillog::MailLogLivePath();
    const std::string aside = live + ".damaged";
    // The write-ahead log is moved first, so that SQLite does not apply it to the new database.
    for (const char* companion : {"-wal", "-shm", ""}) {
        const std::string from = live + companion;
        const std::string to = aside + companion;
        if (std::rename(from.c_str(), to.c_str()) != 0 && errno != ENOENT) {
            return host::SystemReason(from, "mail log: cannot move " + from);
        }
    }
    host::Log(LOG_WARNING, "mail log: the damaged database lies in %s now, and a new one begins",
              aside.c_str());
    return {};
}

}  // namespace collector
