// The package's Sieve script in a user's home: ~/.mailvane.sieve. All work in the home directory is
// done in a child with the user's rights.
#include "host/libmailvane/system/user_script.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
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

constexpr std::string_view kNewName = ".mailvane-";

/// A random name in the home directory, at which the user cannot have put a link beforehand.
std::string NewName()
{
    return std::string(kNewName) + RandomDigits();
}

/// Whether a name is one of `NewName`, with an ending: of a script, its binary, or what the
/// compiler writes first.
bool IsNewName(std::string_view name)
{
    constexpr std::size_t kEnding = kNewName.size() + 16;
    return name.substr(0, kNewName.size()) == kNewName &&
           name.find_first_not_of("0123456789abcdef", kNewName.size()) == kEnding &&
           name.substr(kEnding, 2) == ".s";
}

/// Removes what a killed change has left. The request lock keeps other changes away.
void RemoveLeftovers(int home)
{
    const int copy = openat(home, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(copy < 0 ? nullptr : fdopendir(copy),
                                                     &closedir);
    if (!folder) return;
    while (const dirent* entry = readdir(folder.get())) {
        if (IsNewName(entry->d_name)) (void)unlinkat(home, entry->d_name, 0);
    }
}

Result<void> WriteNew(int home, const std::string& name, const std::string& text)
{
    const Descriptor file(
        openat(home, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file && WriteAll(file.get(), text) && fsync(file.get()) == 0) return {};
    return SystemReason(kScript, "cannot be written");
}

/// Fails with the errors of the compiler when the script does not compile.
Result<void> Compile(const std::string& script, const std::string& binary)
{
    ProgramOptions options;
    options.limit = kCompilerLimit;
    options.capture = true;
    const ProgramResult result =
        RunProgram({programs::kSievec, "-c", PackagePath(kDovecotFile), script, binary}, options);
    if (result.Succeeded()) return {};
    return Reason{ReasonCode::kDaemonRefuses, kScript,
                  "refused with status " + std::to_string(result.status) + ": " + result.errors +
                      result.output,
                  result.Causes()};
}

Result<void> PutInPlace(int home, const std::string& script)
{
    if (renameat(home, script.c_str(), home, kScript) == 0 && fsync(home) == 0) return {};
    return SystemReason(kScript, "cannot be put in place");
}

Result<void> Replace(const MailAccount& account, int home, const std::string& text)
{
    const std::string name = NewName();
    const std::string script = name + ".sieve";
    const std::string binary = name + ".svbin";
    const std::string folder = Path(account.home) + '/';
    Result<void> done = WriteNew(home, script, text);
    if (done) done = Compile(folder + script, folder + binary);
    if (done) done = PutInPlace(home, script);
    // The binary is removed: Dovecot accepts only the one that it makes itself beside the script.
    (void)unlinkat(home, binary.c_str(), 0);
    if (!done) (void)unlinkat(home, script.c_str(), 0);
    return done;
}

Result<void> Remove(int home)
{
    (void)unlinkat(home, kBinary, 0);
    if (unlinkat(home, kScript, 0) == 0 ? fsync(home) == 0 : errno == ENOENT) return {};
    return SystemReason(kScript, "cannot be removed");
}

}  // namespace

Result<void> PutUserScript(const MailAccount& account, const std::string& text)
{
    return RunAsUser(account, "script", kChildLimit, [&](int home) {
        RemoveLeftovers(home);
        return text.empty() ? Remove(home) : Replace(account, home, text);
    });
}

}  // namespace host::system
