// Measures what it costs to run short programs: median and 90th percentile of the wall time, median
// of the processor time, peak of the memory. All programs take turns in every round, so that a busy
// moment hits all alike.
//
//   request_cost ROUNDS NAME PROGRAM [ARGUMENT]... [-- NAME PROGRAM [ARGUMENT]...]...
//
// Prints one line per program, separated by tabs: name, median ms, 90th percentile ms, median ms of
// the processor, peak KiB.
// The programs inherit the environment; their streams are /dev/null.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kMostWarmUpRounds = 3;

/// One program and what its runs cost.
struct Subject {
    const char* name;
    std::vector<char*> arguments;   ///< ends with a null pointer
    std::vector<double> wall;       ///< milliseconds
    std::vector<double> processor;  ///< milliseconds
    long peakKiB = 0;

    void Forget()
    {
        wall.clear();
        processor.clear();
    }
};

double Milliseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// Runs a program once. False when it cannot be started or fails.
bool RunOnce(Subject& subject, const posix_spawn_file_actions_t& streams)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    pid_t child = 0;
    errno = ::posix_spawn(&child, subject.arguments[0], &streams, nullptr, subject.arguments.data(),
                          environ);
    if (errno != 0) {
        (void)std::fprintf(stderr, "%s: %s\n", subject.arguments[0], std::strerror(errno));
        return false;
    }

    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child || status != 0) {
        (void)std::fprintf(stderr, "%s: ended with status %d\n", subject.arguments[0], status);
        return false;
    }
    const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
    subject.wall.push_back(elapsed.count());
    subject.processor.push_back(Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime));
    subject.peakKiB = std::max(subject.peakKiB, usage.ru_maxrss);
    return true;
}

bool Measure(std::vector<Subject>& subjects, int rounds)
{
    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    bool good = true;
    for (int round = -std::min(kMostWarmUpRounds, rounds / 2); good && round < rounds; ++round) {
        for (Subject& subject : subjects) {
            if (round == 0) subject.Forget();
            good = good && RunOnce(subject, streams);
        }
    }
    ::posix_spawn_file_actions_destroy(&streams);
    return good;
}

std::vector<Subject> ParseSubjects(char** first, char** last)
{
    std::vector<Subject> subjects;
    while (first < last) {
        char** end = std::find_if(first, last,
                                  [](const char* word) { return std::strcmp(word, "--") == 0; });
        if (end - first < 2) return {};
        Subject subject{*first, {first + 1, end}, {}, {}};
        subject.arguments.push_back(nullptr);
        subjects.push_back(std::move(subject));
        first = end + 1;
    }
    return subjects;
}

double Percentile(std::vector<double> values, size_t percent)
{
    std::sort(values.begin(), values.end());
    return values[(values.size() - 1) * percent / 100];
}

void Print(const Subject& subject)
{
    (void)std::printf("%s\t%.3f\t%.3f\t%.3f\t%ld\n", subject.name, Percentile(subject.wall, 50),
                      Percentile(subject.wall, 90), Percentile(subject.processor, 50),
                      subject.peakKiB);
}

}  // namespace

int main(int count, char** words)
{
    const int rounds = count > 1 ? std::atoi(words[1]) : 0;  // NOLINT(cert-err34-c)
    std::vector<Subject> subjects;
    if (rounds > 0) subjects = ParseSubjects(words + 2, words + count);
    if (subjects.empty()) {
        (void)std::fprintf(stderr, "usage: request_cost ROUNDS NAME PROGRAM... [-- NAME ...]\n");
        return 2;
    }
    if (!Measure(subjects, rounds)) return 1;

    for (const Subject& subject : subjects) Print(subject);
    return 0;
}
