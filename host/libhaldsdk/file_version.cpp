// Which version of a file was read: its path, number, size and time of change.
#include "host/libhaldsdk/file_version.h"

#include <utility>

namespace host {

namespace {

unsigned present = 0;
unsigned last = 0;

}  // namespace

AccountsOfOneMoment::AccountsOfOneMoment() : outer_(present)
{
    if (present == 0) present = ++last;
}

AccountsOfOneMoment::~AccountsOfOneMoment()
{
    present = outer_;
}

unsigned AccountsOfOneMoment::Number()
{
    return present;
}

bool FileVersion::Stamp::operator==(const Stamp& other) const
{
    return path == other.path && device == other.device && number == other.number &&
           size == other.size && changed.tv_sec == other.changed.tv_sec &&
           changed.tv_nsec == other.changed.tv_nsec;
}

FileVersion::Look FileVersion::LookAt(const std::string& path)
{
    const unsigned moment = AccountsOfOneMoment::Number();
    if (moment != 0 && moment == moment_ && stamp_.path == path) return Look::kSame;

    struct stat info {};
    if (stat(path.c_str(), &info) < 0) return Look::kMissing;
    Stamp stamp{path, info.st_dev, info.st_ino, info.st_size, info.st_mtim};
    moment_ = moment;
    if (stamp == stamp_) return Look::kSame;
    stamp_ = std::move(stamp);
    return Look::kChanged;
}

}  // namespace host
