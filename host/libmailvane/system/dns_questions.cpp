// Several DNS queries at once, each in a child process that writes what it was told to a pipe: a
// mark when there was an answer, then the records, each ended by a NUL.
#include "host/libmailvane/system/dns_questions.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <deque>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/start_program.h"
#include "host/libhaldsdk/account_lookup.h"

namespace host::system {

namespace {

using Clock = std::chrono::steady_clock;
using Answer = std::optional<std::vector<std::string>>;

constexpr char kAnswered = '+';

/// In the child: gives up all rights. Without those of root there are none to give up.
bool BecomeNobody()
{
    return geteuid() != 0 ||
           (setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
            setresuid(kNobody, kNobody, kNobody) == 0);
}

/// In the child: asks, writes the answer, which fits into the pipe, and ends.
[[noreturn]] void AskInChild(const DnsQuestion& question, int report) noexcept
{
    ForgetLock();
    if (!BecomeNobody() || prctl(PR_SET_PDEATHSIG, SIGKILL) < 0) _exit(1);

    const Answer answer = DnsRecords(question.name, question.type);
    if (!answer) _exit(0);
    std::string text(1, kAnswered);
    for (std::string record : *answer) {
        std::replace(record.begin(), record.end(), '\0', ' ');
        if (text.size() + record.size() >= kLongestDnsAnswer) break;
        text.append(record).push_back('\0');
    }
    _exit(WriteAll(report, text) ? 0 : 1);
}

Answer Parsed(const std::string& text)
{
    if (text.empty() || text.front() != kAnswered) return std::nullopt;
    std::vector<std::string> records;
    for (std::size_t start = 1; start < text.size();) {
        const std::size_t end = std::min(text.find('\0', start), text.size());
        records.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return records;
}

/// A question that is being asked, from the start of its child to its end.
class Asking {
public:
    explicit Asking(const DnsQuestion& question)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0) return;
        pipe_ = Descriptor(ends[0]);
        const Descriptor report(ends[1]);
        ExpectChildren();
        pid_ = fork();
        if (pid_ == 0) AskInChild(question, report.get());
        if (pid_ < 0) pipe_.Close();
    }

    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
    ~Asking() { End(); }

    /// Its descriptor while the child works, else -1.
    int descriptor() const { return pipe_.get(); }

    /// Reads what the child has written.
    void Read()
    {
        char bytes[4096];
        const ssize_t size = read(pipe_.get(), bytes, sizeof bytes);
        if (size < 0 && errno == EINTR) return;
        if (size > 0) {
            text_.append(bytes, static_cast<std::size_t>(size));
        } else {
            isWhole_ = size == 0;
            End();
        }
    }

    Answer Take() const { return isWhole_ ? Parsed(text_) : std::nullopt; }

private:
    void End()
    {
        pipe_.Close();
        if (pid_ <= 0) return;
        (void)kill(pid_, SIGKILL);
        while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) continue;
        pid_ = -1;
    }

    Descriptor pipe_;
    pid_t pid_ = -1;
    std::string text_;
    bool isWhole_ = false;
};

/// Waits until a child has something to say, and reads it; false when none works or `end` is there.
bool ReadAny(std::deque<Asking>& all, Clock::time_point end)
{
    std::vector<pollfd> waits;
    bool isAnyAsking = false;
    for (const Asking& one : all) {
        waits.push_back({one.descriptor(), POLLIN, 0});  // poll ignores negative ones
        isAnyAsking = isAnyAsking || one.descriptor() >= 0;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (!isAnyAsking || left <= left.zero()) return false;

    if (poll(waits.data(), static_cast<nfds_t>(waits.size()), static_cast<int>(left.count())) < 0) {
        return errno == EINTR;
    }
    for (std::size_t at = 0; at < waits.size(); ++at) {
        if (waits[at].revents != 0) all[at].Read();
    }
    return true;
}

}  // namespace

std::vector<Answer> AskInParallel(const std::vector<DnsQuestion>& questions,
                                  std::chrono::milliseconds limit)
{
    const Clock::time_point end = Clock::now() + limit;
    std::deque<Asking> all;
    for (const DnsQuestion& question : questions) all.emplace_back(question);
    while (ReadAny(all, end)) continue;

    std::vector<Answer> answers;
    answers.reserve(all.size());
    for (const Asking& one : all) answers.push_back(one.Take());
    return answers;
}

}  // namespace host::system
