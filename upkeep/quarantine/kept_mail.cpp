// The files of the mail that the scanner has kept aside.
#include "upkeep/quarantine/kept_mail.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

constexpr char kFolder[] = "/var/lib/mailvane/quarantine";
constexpr std::size_t kLongestId = 80;

struct CloseFolder {
    void operator()(DIR* folder) const { (void)closedir(folder); }
};

bool ComesBefore(const KeptMail& one, const KeptMail& other)
{
    return one.date != other.date ? one.date < other.date : one.id < other.id;
}

}  // namespace

std::string KeptFolder()
{
    return host::Path(kFolder);
}

bool IsKeptId(std::string_view text)
{
    constexpr std::string_view kSigns = "_+-.";
    return !text.empty() && text.size() <= kLongestId && text[0] != '.' && text[0] != '-' &&
           std::all_of(text.begin(), text.end(), [&](char c) {
               return host::IsLetterOrDigit(c) || kSigns.find(c) != std::string_view::npos;
           });
}

host::Result<std::vector<KeptMail>> ReadKeptMail()
{
    constexpr char kFailed[] = "the scanner's quarantine cannot be read";
    std::vector<KeptMail> kept;
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(KeptFolder().c_str()));
    if (folder == nullptr && errno == ENOENT) return kept;  // nothing was ever kept
    if (folder == nullptr) return host::SystemReason(kFolder, kFailed);

    errno = 0;
    while (const dirent* entry = readdir(folder.get())) {
        struct stat status;
        if (IsKeptId(entry->d_name) &&
            fstatat(dirfd(folder.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            kept.push_back({entry->d_name, std::int64_t{status.st_mtime},
                            static_cast<std::uint64_t>(status.st_size)});
        }
        errno = 0;
    }
    if (errno != 0) return host::SystemReason(kFolder, kFailed);
    std::sort(kept.begin(), kept.end(), ComesBefore);
    return kept;
}

host::Descriptor OpenKept(const std::string& id)
{
    if (!IsKeptId(id)) return {};
    const std::string path = KeptFolder() + "/" + id;
    host::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    const bool isPlain = file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
    return isPlain ? std::move(file) : host::Descriptor();
}

}  // namespace upkeep
