// Requests that are answered one at a time. Locks files in /run/mailvane/turns.
#include "host/libkos/turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace kos {

bool TakeTurn(const std::string& name)
{
    static host::Descriptor turn;  // closed, and the turn given up, at the end of the process
    const std::string folder = host::Path("/run/mailvane/turns");
    (void)mkdir(folder.c_str(), S_IRWXU);
    const std::string path = folder + "/" + name;
    turn = host::Descriptor(
        open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (turn && flock(turn.get(), LOCK_EX | LOCK_NB) == 0) return true;

    if (errno != EWOULDBLOCK) {
        host::Log(LOG_ERR, "%s cannot be locked: %s", path.c_str(), host::ErrnoText());
    }
    return false;
}

}  // namespace kos
