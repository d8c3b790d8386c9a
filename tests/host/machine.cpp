// A machine of its own in a temporary directory, and the lines that were logged on it.
#include "tests/host/machine.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "host/libhaldcore/lock.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> logged;

__attribute__((format(printf, 1, 0))) void Record(const char* format, va_list arguments)
{
    char line[2048];
    (void)vsnprintf(line, sizeof line, format, arguments);
    logged.emplace_back(line);
}

}  // namespace

// In place of the C library's own, in both the plain and the fortified form.
extern "C" void syslog(int /*priority*/, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Record(format, arguments);
    va_end(arguments);
}

extern "C" __attribute__((format(printf, 3, 4))) void __syslog_chk(int /*priority*/, int /*flag*/,
                                                                   const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Record(format, arguments);
    va_end(arguments);
}

void Machine::SetUp()
{
    // In memory: waiting for a disk tests nothing.
    std::string name = "/dev/shm/mailvane-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    root = name;
    host::SetRoot(root);
    ASSERT_TRUE(host::MakeDirectories(host::PackagePath("etc"), 0755));
    ASSERT_TRUE(host::MakeDirectories(host::PackagePath("target/etc"), 0755));
    logged.clear();
}

void Machine::TearDown()
{
    host::ForgetLock();
    host::SetRoot("");
    fs::remove_all(root);
}

void Machine::Write(const std::string& path, const std::string& text, mode_t mode)
{
    const std::string real = host::Path(path);
    fs::create_directories(fs::path(real).parent_path());
    std::ofstream(real, std::ios::binary) << text;
    ASSERT_EQ(0, chmod(real.c_str(), mode));
}

std::string Machine::Contents(const std::string& path)
{
    std::ifstream file(host::Path(path), std::ios::binary);
    if (!file) return "(none)";
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Machine::Names(const std::string& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(host::Path(directory)))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
}

mode_t Machine::Mode(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(0, stat(host::Path(path).c_str(), &status)) << path;
    return status.st_mode & 07777U;
}

std::string Machine::OtherFileSystem() const
{
    return fs::temp_directory_path() / fs::path(root).filename();
}

const std::vector<std::string>& Machine::Logged()
{
    return logged;
}

bool Machine::WasLogged(const std::string& part)
{
    return std::any_of(logged.begin(), logged.end(), [&](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

pid_t InChild(const std::function<int()>& work)
{
    const pid_t child = fork();
    if (child == 0) _exit(work());
    return child;
}

int StatusOf(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
