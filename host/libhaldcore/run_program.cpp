// Runs programs in parallel and waits for their end, not for the end of their output, which a
// daemon left behind may keep open.
#include "host/libhaldcore/run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <deque>
#include <optional>
#include <utility>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/program_output.h"
#include "host/libhaldcore/start_program.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::ptrdiff_t kMostAtOnce = 8;
constexpr std::chrono::seconds kGrace{2};  // between SIGTERM and SIGKILL

std::string BaseName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// A descriptor from which `text` can be read; none, with errno set, on failure.
Descriptor InputOf(const std::string& text)
{
    if (text.empty()) return Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));

    Descriptor file(memfd_create("input", MFD_CLOEXEC));
    const bool ready = file && WriteAll(file.get(), text) && lseek(file.get(), 0, SEEK_SET) == 0;
    return ready ? std::move(file) : Descriptor();
}

/// One running program, from start to end.
class Run {
public:
    Run(const std::vector<std::string>& arguments, const ProgramOptions& options)
        : path_(arguments.empty() ? std::string() : arguments[0])
    {
        result_.done = Start(arguments, options);
        if (result_.done && options.limit > options.limit.zero()) {
            deadline_ = Clock::now() + options.limit;
        }
    }

    bool running() const { return program_.pid > 0; }
    ProgramResult& result() { return result_; }

    /// When `Advance` must be called even without an event.
    std::optional<Clock::time_point> deadline() const { return deadline_; }

    void AddTo(std::vector<pollfd>& waits) const
    {
        for (const int descriptor :
             {program_.process.get(), output_.descriptor(), errors_.descriptor()}) {
            if (descriptor >= 0) waits.push_back({descriptor, POLLIN, 0});
        }
    }

    /// Reads output, notices the program's end, and stops a program that exceeds its limit.
    void Advance()
    {
        int status = 0;
        const pid_t ended = waitpid(program_.pid, &status, WNOHANG);
        if (ended == program_.pid || (ended < 0 && errno == ECHILD)) {
            End(ended < 0 ? -1 : status);
            return;
        }
        output_.Read();
        errors_.Read();
        if (deadline_ && Clock::now() >= *deadline_) Stop();
    }

private:
    Result<void> Start(const std::vector<std::string>& arguments, const ProgramOptions& options);
    void Stop();
    void End(int status);
    Reason WhyNot(int status) const;

    std::string path_;
    StartedProgram program_;
    ProgramOutput output_;  // of both streams when logged
    ProgramOutput errors_;
    std::optional<Clock::time_point> deadline_;
    bool tookTooLong_ = false;
    ProgramResult result_;
};

Result<void> Run::Start(const std::vector<std::string>& arguments, const ProgramOptions& options)
{
    const Descriptor input = options.file >= 0 ? Descriptor(fcntl(options.file, F_DUPFD_CLOEXEC, 0))
                                               : InputOf(options.input);
    const Descriptor output = output_.Open();
    const Descriptor errors = options.capture ? errors_.Open() : Descriptor();
    if (!input || !output || (options.capture && !errors)) return CannotBeStarted(path_);

    if (!options.capture) output_.LogAs(BaseName(path_));
    const int errorStream = options.capture ? errors.get() : output.get();
    auto started = StartProgram(arguments, {input.get(), output.get(), errorStream});
    if (!started) return std::move(started).reason();
    program_ = *std::move(started);
    return {};
}

/// Stops the program's process group: SIGTERM at the first call, SIGKILL at the second.
void Run::Stop()
{
    (void)kill(-program_.pid, tookTooLong_ ? SIGKILL : SIGTERM);
    deadline_.reset();
    if (!tookTooLong_) deadline_ = Clock::now() + kGrace;
    tookTooLong_ = true;
}

void Run::End(int status)
{
    if (tookTooLong_) (void)kill(-program_.pid, SIGKILL);  // processes that it left behind
    output_.Finish();
    errors_.Finish();
    program_ = StartedProgram();
    deadline_.reset();

    result_.output = std::move(output_.text());
    result_.errors = std::move(errors_.text());
    if (WIFEXITED(status) && !tookTooLong_) result_.status = WEXITSTATUS(status);
    if (!result_.Succeeded()) result_.done = WhyNot(status);
}

/// The reason for a program that did not end with 0.
Reason Run::WhyNot(int status) const
{
    if (tookTooLong_) {
        return {ReasonCode::kOutOfTime, path_, path_ + " took too long and was stopped"};
    }
    const bool killed = WIFSIGNALED(status);
    return {ReasonCode::kSystem, path_,
            path_ + (killed ? " was killed by signal " : " ended with status ") +
                std::to_string(killed ? WTERMSIG(status) : result_.status)};
}

/// Milliseconds until `deadline` for poll, rounded up.
int WaitUntil(std::optional<Clock::time_point> deadline)
{
    if (!deadline) return -1;
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, 3'600'000));
}

/// Waits for an event of a running program; false when none is running.
bool WaitForAny(const std::deque<Run>& runs)
{
    std::vector<pollfd> waits;
    std::optional<Clock::time_point> next;
    for (const Run& run : runs) {
        if (!run.running()) continue;
        run.AddTo(waits);
        if (run.deadline() && (!next || *run.deadline() < *next)) next = run.deadline();
    }
    if (waits.empty()) return false;

    (void)poll(waits.data(), static_cast<nfds_t>(waits.size()), WaitUntil(next));
    return true;
}

}  // namespace

std::vector<Reason> ProgramResult::Causes() const
{
    return status < 0 && !done ? std::vector<Reason>{done.reason()} : std::vector<Reason>();
}

ProgramResult RunProgram(const std::vector<std::string>& arguments, const ProgramOptions& options)
{
    return RunPrograms({arguments}, options).front();
}

std::vector<ProgramResult> RunPrograms(const std::vector<std::vector<std::string>>& programs,
                                       const ProgramOptions& options)
{
    std::deque<Run> runs;
    const auto isRunning = [](const Run& run) { return run.running(); };
    const auto startSome = [&] {
        while (runs.size() < programs.size() &&
               std::count_if(runs.begin(), runs.end(), isRunning) < kMostAtOnce) {
            runs.emplace_back(programs[runs.size()], options);
        }
    };
    for (startSome(); WaitForAny(runs); startSome()) {
        for (Run& run : runs) {
            if (run.running()) run.Advance();
        }
    }

    std::vector<ProgramResult> results;
    results.reserve(runs.size());
    for (Run& run : runs) results.push_back(std::move(run.result()));
    return results;
}

}  // namespace host
