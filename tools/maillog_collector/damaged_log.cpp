// A damaged database of the mail log.
#include "tools/maillog_collector/damaged_log.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/maillog/schema.h"

namespace collector {

bool TellsDamage(const std::exception& failure)
{
    const auto* fault = dynamic_cast<const SQLite::Exception*>(&failure);
    return fault != nullptr &&
           (fault->getErrorCode() == SQLITE_CORRUPT || fault->getErrorCode() == SQLITE_NOTADB);
}

bool PutDamagedAside()
{
    const std::string live = host::maillog::MailLogLivePath();
    const std::string aside = live + ".damaged";
    // The write-ahead log is moved first, so that SQLite does not apply it to the new database.
    for (const char* companion : {"-wal", "-shm", ""}) {
        const std::string from = live + companion;
        const std::string to = aside + companion;
        if (std::rename(from.c_str(), to.c_str()) != 0 && errno != ENOENT) {
            host::Log(LOG_ERR, "mail log: cannot move %s: %s", from.c_str(), host::ErrnoText());
            return false;
        }
    }
    host::Log(LOG_ERR, "mail log: the database is damaged; it lies in %s now, and a new one begins",
              aside.c_str());
    return true;
}

}  // namespace collector
