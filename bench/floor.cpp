// The least that a request can cost: starts with the program's libraries, reads the files that the
// program reads for `load_smtp`, and prints the answer it is given ready-made.
//
//   bench_floor ANSWER FILE...
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

namespace {

std::string Contents(const char* path)
{
    std::string bytes;
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    std::array<char, 16384> buffer;
    ssize_t count = 0;
    while ((count = ::read(file, buffer.data(), buffer.size())) > 0) {
        bytes.append(buffer.data(), static_cast<size_t>(count));
    }
    ::close(file);
    return bytes;
}

}  // namespace

int main(int count, char** arguments)
{
    if (count < 2) return 2;
    for (int number = 2; number < count; ++number) (void)Contents(arguments[number]);

    const std::string answer = Contents(arguments[1]);
    const ssize_t written = ::write(STDOUT_FILENO, answer.data(), answer.size());
    return written == static_cast<ssize_t>(answer.size()) ? 0 : 1;
}
