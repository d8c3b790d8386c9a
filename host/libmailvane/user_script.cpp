// The package's filter script in a user's home: ~/.mailvane.sieve. Everything in the home happens
// in a child with the rights of the user.
#include "host/libmailvane/user_script.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"

namespace host {

namespace {

const char kScript[] = ".mailvane.sieve";
const char kBinary[] = ".mailvane.svbin";
const char kCompiler[] = "/usr/bin/sievec";
const char kDovecotFile[] = "etc/generated/current/dovecot/dovecot.conf";
constexpr unsigned kChildLimit = 60;  // seconds
constexpr std::chrono::seconds kCompilerLimit{20};

/// From here on the process has no rights but the user's.
bool BecomeUser(const MailAccount& account)
{
    return initgroups(account.name.c_str(), account.gid) == 0 &&
           setresgid(account.gid, account.gid, account.gid) == 0 &&
           setresuid(account.uid, account.uid, account.uid) == 0;
}

/// The home, if it is still the user's.
Descriptor OpenHome(const MailAccount& account)
{
    Descriptor home(open(Path(account.home).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!home || fstat(home.get(), &status) < 0) return Descriptor();
    if (status.st_uid == account.uid) return home;
    errno = EPERM;
    return Descriptor();
}

/// A name in the home that nobody can have put a link at.
std::string NewName()
{
    std::uint64_t number = 0;
    (void)getrandom(&number, sizeof number, 0);
    std::array<char, 48> name;
    (void)snprintf(name.data(), name.size(), ".mailvane-%016jx",
                   static_cast<std::uintmax_t>(number));
    return name.data();
}

bool WriteNew(int home, const std::string& name, const std::string& text)
{
    const Descriptor file(
        openat(home, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) return false;

    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = write(file.get(), text.data() + done, text.size() - done);
        if (put < 0 && errno != EINTR) return false;
        if (put > 0) done += static_cast<std::size_t>(put);
    }
    return fsync(file.get()) == 0;
}

/// Whether the delivery agent will take the script. What it says against it is logged.
bool Compiles(const std::string& script, const std::string& binary)
{
    ProgramOptions options;
    options.limit = kCompilerLimit;
    options.capture = true;
    const ProgramResult result =
        RunProgram({kCompiler, "-c", PackagePath(kDovecotFile), script, binary}, options);
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
    // The delivery agent makes a binary of its own: one under another name it would not believe.
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

bool WorkAsUser(const MailAccount& account, const std::string& text)
{
    if (!BecomeUser(account)) return false;

    const Descriptor home = OpenHome(account);
    if (!home) return false;
    return text.empty() ? Remove(home.get()) : Replace(account, home.get(), text);
}

[[noreturn]] void RunChild(const MailAccount& account, const std::string& text)
{
    ForgetLock();
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    (void)alarm(kChildLimit);  // a home on a server that does not answer
    if (WorkAsUser(account, text)) _exit(0);

    Log(LOG_ERR, "the script of %s was not put in place: %s", account.name.c_str(), ErrnoText());
    _exit(1);
}

}  // namespace

bool PutUserScript(const MailAccount& account, const std::string& text)
{
    const pid_t child = fork();
    if (child == 0) RunChild(account, text);

    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
    if (child > 0 && WIFEXITED(status)) return WEXITSTATUS(status) == 0;

    Log(LOG_ERR, "the script of %s was not put in place: its process was not had or was killed",
        account.name.c_str());
    return false;
}

}  // namespace host
