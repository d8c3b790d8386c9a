// A damaged database of the mail log.
#include "tools/maillog_collector/damaged_log.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/log.h"
#include "host/libmailvane/maillog/schema.h"

namespace collector {

namespace {

constexpr char kMagic[] = "SQLite format 3";  // with its end
constexpr int kLooks = 10;                    // a checkpoint writes the head before the rest
constexpr int kBetweenLooksMs = 1000;

std::uint32_t Number(const unsigned char* bytes, int count)
{
    std::uint32_t number = 0;
    for (int i = 0; i < count; ++i) number = number << 8U | bytes[i];
    return number;
}

/// Whether the file has a head, and all pages that the head counts.
bool IsWhole(const std::string& path)
{
    std::array<unsigned char, 32> head{};
    struct stat info {};
    const host::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || ::fstat(file.get(), &info) < 0 ||
        ::pread(file.get(), head.data(), head.size(), 0) != static_cast<ssize_t>(head.size()) ||
        std::memcmp(head.data(), kMagic, sizeof kMagic) != 0) {
        return false;
    }
    const std::uint32_t pageSize = Number(&head[16], 2);  // 1 stands for 65536
    const std::uint64_t pages = Number(&head[28], 4);
    return static_cast<std::uint64_t>(info.st_size) >= pages * (pageSize == 1 ? 65536 : pageSize);
}

}  // namespace

host::Result<void> CheckFile()
{
    const std::string path = host::maillog::MailLogLivePath();
    for (int look = 0; look < kLooks; ++look) {
        if (IsWhole(path)) return {};
        (void)::poll(nullptr, 0, kBetweenLooksMs);
    }
    return host::Reason{host::ReasonCode::kDamaged, "mail log",
                        "mail log: the file of the database is gone, or was cut"};
}

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
