// The operations of the C library that would leave the test's own files: the system log, and names
// in the file tree. Defined here, they take the place of the library's for the whole test program.
// The aliases name both forms of each call, the plain one and the one that fortified or 64-bit
// builds use.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/recording/call.h"

using namespace recording;

namespace {

__attribute__((format(printf, 2, 0))) void Log(int priority, const char* format, va_list arguments)
{
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) std::abort();
    TheWorld().Logged(priority, text);
    std::free(text);
}

/// The scripted result of a call on a name; nothing when it shall really be made.
template <typename... Arguments>
std::optional<int> Scripted(const char* operation, const Arguments&... arguments)
{
    return TheWorld().Called(Line(operation, arguments...), false);
}

/// A temporary file is really made, so that the program can read it back.
int MakeTemporary(char* name)
{
    const std::string pattern = name;
    if (const auto scripted = Scripted("mkstemp", pattern)) return *scripted;

    const int descriptor = mkostemp(name, O_CLOEXEC);
    if (descriptor >= 0) TheWorld().temporaryNames[name] = pattern;
    return descriptor;
}

}  // namespace

extern "C" {

int RecordMkdir(const char* path, mode_t mode) __asm__("mkdir");
int RecordUnlink(const char* path) __asm__("unlink");
int RecordRename(const char* from, const char* to) __asm__("rename");
int RecordMkstemp(char* name) __asm__("mkstemp");
int RecordMkstemp64(char* name) __asm__("mkstemp64");
void RecordSyslog(int priority, const char* format, ...) __asm__("syslog")
    __attribute__((format(printf, 2, 3)));
void RecordSyslogChk(int priority, int flag, const char* format, ...) __asm__("__syslog_chk")
    __attribute__((format(printf, 3, 4)));

/// Never made for real: the machine's directories are in memory.
int RecordMkdir(const char* path, mode_t mode)
{
    char octal[16];
    std::snprintf(octal, sizeof octal, "%04o", static_cast<unsigned>(mode));
    if (const auto scripted = Scripted("mkdir", path, octal)) return *scripted;

    if (!TheWorld().Exists(path)) {
        TheWorld().directories.insert(path);
        return 0;
    }
    errno = EEXIST;
    return -1;
}

int RecordUnlink(const char* path)
{
    if (const auto scripted = Scripted("unlink", path)) return *scripted;

    const bool inMemory = TheWorld().files.erase(path) + TheWorld().keyValueFiles.erase(path) != 0;
    return inMemory ? 0 : unlinkat(AT_FDCWD, path, 0);
}

int RecordRename(const char* from, const char* to)
{
    if (const auto scripted = Scripted("rename", from, to)) return *scripted;

    return TheWorld().Move(from, to) ? 0 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int RecordMkstemp(char* name) { return MakeTemporary(name); }

int RecordMkstemp64(char* name) { return MakeTemporary(name); }

void RecordSyslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Log(priority, format, arguments);
    va_end(arguments);
}

void RecordSyslogChk(int priority, int /*flag*/, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Log(priority, format, arguments);
    va_end(arguments);
}

}  // extern "C"
