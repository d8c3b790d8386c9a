// Runs the checks, each in a child process that writes its finding to a pipe: first a byte for the
// word, then the detail. A check is killed when it exceeds its limit.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <optional>
#include <sstream>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/log.h"
#include "host/libmailvane/selfcheck/self_check.h"
#include "platform/hlib/process.h"

namespace host::selfcheck {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestReport = 1000;  // fits into a pipe, so that writing never blocks

/// Runs in the child: performs the check, writes the finding and exits, also after an exception.
[[noreturn]] void RunInChild(const Check& check, const settings::StoredSettings& settings,
                             int report) noexcept
{
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // a check does not outlive a killed request
    const Finding finding = check.run(settings, check.subject);
    std::string text(1, static_cast<char>('0' + static_cast<int>(finding.word)));
    text += finding.detail;
    text.resize(std::min(text.size(), kLongestReport));
    (void)!write(report, text.data(), text.size());
    _exit(0);
}

/// A check whose child process was started.
class RunningCheck {
public:
    RunningCheck(const Check& check, const settings::StoredSettings& settings)
        : deadline_(Clock::now() + check.limit)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0) return;

        pipe_ = Descriptor(ends[0]);
        const Descriptor report(ends[1]);
        pid_ = HLIBCProcFork();
        if (pid_ == 0) RunInChild(check, settings, report.get());
        if (pid_ < 0) pipe_.Close();
    }

    RunningCheck(const RunningCheck&) = delete;
    RunningCheck& operator=(const RunningCheck&) = delete;

    ~RunningCheck() { End(); }

    bool running() const { return static_cast<bool>(pipe_); }
    int descriptor() const { return pipe_.get(); }
    Clock::time_point deadline() const { return deadline_; }

    /// Reads the finding when there is one, or kills the check when its time is over.
    void Advance(bool isReadable)
    {
        if (isReadable) {
            Receive();
        } else if (Clock::now() >= deadline_) {
            finding_.detail = "took too long";
            End();
        }
    }

    const Finding& finding() const { return finding_; }

private:
    void Receive();
    void End();

    Clock::time_point deadline_;
    Descriptor pipe_;
    pid_t pid_ = -1;
    Finding finding_{CheckWord::kUnknown, "the check ended without a result"};
};

void RunningCheck::Receive()
{
    char text[kLongestReport];
    const ssize_t size = read(pipe_.get(), text, sizeof text);
    if (size < 0 && errno == EINTR) return;

    const int word = size > 0 ? text[0] - '0' : -1;
    if (word >= 0 && word <= static_cast<int>(CheckWord::kFailed)) {
        finding_.word = static_cast<CheckWord>(word);
        finding_.detail.assign(text + 1, static_cast<std::size_t>(size - 1));
    }
    End();
}

/// Kills the child if it still runs, and waits for it.
void RunningCheck::End()
{
    pipe_.Close();
    if (pid_ <= 0) return;

    (void)kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) continue;
    pid_ = -1;
}

/// Milliseconds until `deadline` for poll, rounded up.
int WaitUntil(Clock::time_point deadline)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<milliseconds::rep>(left.count(), 0));
}

/// Waits until a check has a finding or exceeds its limit; false when none is running.
bool AdvanceAny(std::deque<RunningCheck>& runs)
{
    std::vector<pollfd> waits;
    auto next = Clock::time_point::max();
    for (const RunningCheck& run : runs) {
        // poll ignores negative descriptors.
        waits.push_back({run.descriptor(), POLLIN, 0});
        if (run.running()) next = std::min(next, run.deadline());
    }
    if (next == Clock::time_point::max()) return false;

    if (poll(waits.data(), static_cast<nfds_t>(waits.size()), WaitUntil(next)) < 0) {
        for (pollfd& wait : waits) wait.revents = 0;
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (runs[i].running()) runs[i].Advance(waits[i].revents != 0);
    }
    return true;
}

bool IsOff(const Check& check, const settings::StoredSettings& settings)
{
    if (check.settings == nullptr) return false;

    std::istringstream names(check.settings);
    for (std::string name; names >> name;) {
        const std::string& value = settings.Spelled(name);
        if (value != "no" && value != "local") return false;
    }
    return true;
}

}  // namespace

const char* Spelling(CheckWord word)
{
    constexpr const char* kWords[] = {"OFF", "OK", "UNKNOWN", "WARNING", "FAILED"};
    return kWords[static_cast<int>(word)];
}

void Add(Finding& sum, const Finding& finding)
{
    sum.word = std::max(sum.word, finding.word);
    if (finding.detail.empty()) return;

    if (!sum.detail.empty()) sum.detail += "; ";
    sum.detail += finding.detail;
}

std::vector<Finding> RunChecks(const std::vector<Check>& checks,
                               const settings::StoredSettings& settings)
{
    std::deque<RunningCheck> runs;
    std::vector<Finding> findings(checks.size(), {CheckWord::kOff, ""});
    std::vector<std::size_t> rows;
    for (std::size_t row = 0; row < checks.size(); ++row) {
        if (IsOff(checks[row], settings)) continue;
        runs.emplace_back(checks[row], settings);
        rows.push_back(row);
    }
    while (AdvanceAny(runs)) continue;

    for (std::size_t i = 0; i < runs.size(); ++i) findings[rows[i]] = runs[i].finding();
    return findings;
}

}  // namespace host::selfcheck
