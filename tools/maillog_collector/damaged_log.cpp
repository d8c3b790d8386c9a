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

/// The file of the current database. It stays open until another one has its name: when a process
/// closes any descriptor of a file, the kernel ends all its locks on the file, SQLite's too.
struct KeptFile {
    host::Descriptor file;
    dev_t device = 0;
    ino_t inode = 0;
};

/// The kept file of a path that names the file `info` tells of.
const host::Descriptor& Keep(const std::string& path, const struct stat& info)
{
    static KeptFile kept;
    if (!kept.file || kept.device != info.st_dev || kept.inode != info.st_ino) {
        kept = {host::Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), info.st_dev,
                info.st_ino};
    }
    return kept.file;
}

/// Whether the file has a head, and all pages that the head counts.
bool IsWhole(const std::string& path)
{
    std::array<unsigned char, 32> head{};
    struct stat info {};
    if (::stat(path.c_str(), &info) < 0) return false;

    const host::Descriptor& file = Keep(path, info);
    if (!file ||
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
