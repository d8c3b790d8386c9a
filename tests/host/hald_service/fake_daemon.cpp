// A daemon with bad manners: fake_daemon WAY PID_FILE SOCKET. Its ways can be joined with commas.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

void GoToTheBackground()
{
    if (fork() != 0) _exit(0);
}

void WritePid(const char* file)
{
    std::ofstream(file) << getpid() << "\n";
}

int Bind(const char* path)
{
    (void)unlink(path);
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    (void)std::strncpy(name.sun_path, path, sizeof name.sun_path - 1);
    const int door = socket(AF_UNIX, SOCK_STREAM, 0);
    if (bind(door, reinterpret_cast<sockaddr*>(&name), sizeof name) < 0) _exit(3);
    return door;
}

/// What it was given, beside its socket: variables and descriptors.
void TellWhatItHas(const std::string& file)
{
    std::ofstream told(file);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        told << std::string(*variable, std::strchr(*variable, '=')) << " ";
    }
    for (int number = 0; number < 64; ++number) {
        char name[32];
        char target[200] = {};
        (void)std::snprintf(name, sizeof name, "/proc/self/fd/%d", number);
        if (readlink(name, target, sizeof target - 1) > 0 && !std::strstr(target, file.c_str())) {
            told << number << " ";
        }
    }
}

}  // namespace

int main(int count, char** words)
{
    if (count != 4) return 2;
    const std::string ways = std::string(",") + words[1] + ",";
    const auto does = [&ways](const char* way) {
        return ways.find(std::string(",") + way + ",") != std::string::npos;
    };

    if (does("refuses")) {
        (void)std::fprintf(stderr, "it refuses\n");
        return 1;
    }
    TellWhatItHas(std::string(words[2]) + ".told");
    GoToTheBackground();
    if (!does("follows")) (void)setsid();
    if (does("twice")) {
        WritePid(words[2]);
        GoToTheBackground();
    }
    if (does("deaf")) (void)std::signal(SIGTERM, SIG_IGN);
    WritePid(words[2]);
    if (does("dies")) return 1;
    if (does("slow")) (void)sleep(1);
    const int door = Bind(words[3]);
    // A helper has the socket too, and is not told to end by the master's end. It is there when the
    // daemon is up.
    if (does("helped")) (void)fork();
    if (listen(door, 4) < 0) return 3;
    for (;;) (void)pause();
}
