// The package's Sieve script in a user's home: ~/.mailvane.sieve. All work in the home directory is
// done in a child with the user's rights.
#include "host/libmailvane/system/user_script.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/random_text.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/system/user_child.h"

namespace host::system {

namespace {

const char kScript[] = ".mailvane.sieve";
const char kBinary[] = ".mailvane.svbin";
const char kDovecotFile[] = "etc/generated/current/dovecot/dovecot.conf";
constexpr std::chrono::seconds kCompilerLimit{20};
constexpr std::chrono::seconds kChildLimit{25};  // other requests wait 30 seconds for the lock

/// A random name in the home directory, at which the user cannot have put a link beforehand.
std::string NewName()
{
    return ".mailvane-" + RandomDigits();
}

bool WriteNew(int home, const std::string& name, const std::string& text)
{
    const Descriptor file(
        openat(home, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file && WriteAll(file.get(), text) && fsync(file.get()) == 0;
}

/// Whether the script compiles. Errors are logged.
bool Compiles(const std::string& script, const std::string& binary)
{
    ProgramOptions options;
    options.limit = kCompilerLimit;
    options.capture = true;
    const ProgramResult result =
        RunProgram({programs::kSievec, "-c", PackagePath(kDovecotFile), script, binary}, options);
    if (result.Succeeded()) return true;

    Log(LOG_ERR, "script refused with status %d: %s%s", result.status, result.errors.c_str(),
        result.output.c_str());
    errno = EINVAL;
    return false;
}

bool Replace(const MailAccount& account, int home, const std::string& text)
{
    const std::string name = NewName();
    const std::string script = name + ".sieve";
    const std::string binary = name + ".svbin";
    const std::string folder = Path(account.home) + '/';
    const bool placed = WriteNew(home, script, text) &&
                        Compiles(folder + script, folder + binary) &&
                        renameat(home, script.c_str(), home, kScript) == 0 && fsync(home) == 0;
    const int saved = errno;
    // The binary is removed: Dovecot accepts only the one that it makes itself beside the script.
    (void)unlinkat(home, binary.c_str(), 0);
    if (!placed) (void)unlinkat(home, script.c_str(), 0);
    errno = saved;
    return placed;
}

bool Remove(int home)
{
    (void)unlinkat(home, kBinary, 0);
    return unlinkat(home, kScript, 0) == 0 || errno == ENOENT;
}

}  // namespace

bool PutUserScript(const MailAccount& account, const std::string& text)
{
    return RunAsUser(account, "script", kChildLimit, [&](int home) {
        return text.empty() ? Remove(home) : Replace(account, home, text);
    });
}

}  // namespace host::system
