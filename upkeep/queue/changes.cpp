// Calls that do something with the mail that waits. The mail server's own programs change its
// queue; they get ids as arguments or on standard input, and say of which they found a message.
#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "upkeep/queue/calls.h"
#include "upkeep/queue/queue_names.h"
#include "upkeep/queue/spool.h"
#include "upkeep/request/chosen.h"

namespace upkeep {

namespace {

using host::Result;
using Ids = std::vector<std::string>;

constexpr char kAll[] = "ALL";
constexpr char kFromInput[] = "-";
constexpr std::chrono::seconds kLimit{15};  // less than a call has
constexpr std::size_t kMostSingly = 100;    // messages that are tried one by one
constexpr std::size_t kAtOnce = 10;
constexpr std::size_t kLongestSaid = 300;

/// An option of the mail server's program that changes its queue.
struct Change {
    const char* option;
    bool (*isDone)(Queue queue);  ///< whether a message in this queue is as it is wanted
};

constexpr Change kHold{"-h", [](Queue queue) { return queue == Queue::kHold; }};
constexpr Change kRelease{"-H", [](Queue queue) { return queue != Queue::kHold; }};
constexpr Change kDelete{"-d", [](Queue /*queue*/) { return false; }};

host::ProgramOptions Captured(std::string input = "")
{
    host::ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    options.input = std::move(input);
    return options;
}

/// Whether a program of the mail server did what it was to do, and what it said if not.
Result<void> DoneBy(const host::ProgramResult& result)
{
    if (result.done) return {};
    const std::string_view said = host::Trim(result.errors);
    const std::string_view last = said.substr(said.rfind('\n') + 1);
    return host::Reason(result.done.reason())
        .Causing(host::Subject::Service("postfix"), host::ShownText(last, kLongestSaid));
}

/// Takes the ids that a program told: lines "postsuper: ID: removed".
std::set<std::string> ToldIds(const std::string& said)
{
    std::set<std::string> ids;
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = std::min(line.find(": "), line.size());
        const std::string rest = line.substr(std::min(start + 2, line.size()));
        const std::string id = rest.substr(0, rest.find(": "));
        if (IsQueueId(id)) ids.insert(id);
    }
    return ids;
}

/// The ids of the messages that a change would change.
Result<std::set<std::string>> Changeable(const Change& change)
{
    const Result<std::vector<QueueName>> names = ReadQueueNames(MailSpool());
    if (!names) return names.reason();
    std::set<std::string> ids;
    for (const QueueName& name : *names) {
        if (!change.isDone(name.queue)) ids.insert(name.id);
    }
    return ids;
}

host::ProgramResult RunChange(const Change& change, const char* which, std::string input)
{
    return host::RunProgram(
        {host::programs::kPostsuper, "-c", MailServerFiles(), change.option, which},
        Captured(std::move(input)));
}

Answer ChangeAll(const Change& change)
{
    const auto before = Changeable(change);
    if (!before) return before.reason();
    const Result<void> done = DoneBy(RunChange(change, kAll, ""));
    if (!done) return done.reason();
    const auto after = Changeable(change);
    if (!after) return after.reason();

    const auto changed = std::count_if(before->begin(), before->end(), [&](const std::string& id) {
        return after->count(id) == 0;
    });
    return DoneAndGone(static_cast<std::size_t>(changed), {});
}

Answer ChangeSome(const Change& change, const Ids& ids)
{
    std::string input;
    for (const std::string& id : ids) input += id + "\n";
    const host::ProgramResult result = RunChange(change, kFromInput, std::move(input));
    const Result<void> done = DoneBy(result);
    if (!done) return done.reason();

    const std::set<std::string> told = ToldIds(result.errors);
    const std::string spool = MailSpool();
    std::size_t count = 0;
    Ids gone;
    for (const std::string& id : ids) {
        const bool changed = told.count(id) > 0;
        const auto found = changed ? std::nullopt : FindQueued(spool, id);
        if (changed || (found && change.isDone(found->queue))) ++count;
        if (!changed && !found) gone.push_back(id);
    }
    return DoneAndGone(count, gone);
}

Answer DoChange(const Change& change, const Chosen& chosen)
{
    NoteChosen(chosen);
    return chosen.all ? ChangeAll(change) : ChangeSome(change, chosen.ids);
}

Result<void> TryAll()
{
    return DoneBy(
        host::RunProgram({host::programs::kPostqueue, "-c", MailServerFiles(), "-f"}, Captured()));
}

/// Has the mail server try some messages now.
Result<void> TryNow(const Ids& ids)
{
    // The mail server takes one id at a time; of many it is told less often to try everything.
    if (ids.size() > kMostSingly) return TryAll();
    std::vector<std::vector<std::string>> programs;
    for (const std::string& id : ids) {
        programs.push_back({host::programs::kPostqueue, "-c", MailServerFiles(), "-i", id});
        if (programs.size() < kAtOnce && id != ids.back()) continue;
        for (const host::ProgramResult& result : host::RunPrograms(programs, Captured())) {
            Result<void> done = DoneBy(result);
            if (!done) return done;
        }
        programs.clear();
    }
    return {};
}

/// The messages that are still there.
Ids Present(const Ids& ids)
{
    Ids present;
    const std::string spool = MailSpool();
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(present),
                 [&](const std::string& id) { return FindQueued(spool, id).has_value(); });
    return present;
}

Answer Flush(const Chosen& chosen)
{
    NoteChosen(chosen);
    const Ids present = Present(chosen.ids);
    const auto mail = chosen.all ? Changeable(kHold) : std::set<std::string>();
    if (!mail) return mail.reason();
    const Result<void> done = chosen.all ? TryAll() : TryNow(present);
    if (!done) return done.reason();

    Ids gone;
    std::set_difference(chosen.ids.begin(), chosen.ids.end(), present.begin(), present.end(),
                        std::back_inserter(gone));
    return DoneAndGone(chosen.all ? mail->size() : present.size(), gone);
}

Answer Release(const Chosen& chosen)
{
    Answer answer = DoChange(kRelease, chosen);
    if (!answer) return answer;
    // What was released would otherwise wait for the next run of the queue.
    const Result<void> tried = chosen.all ? TryAll() : TryNow(Present(chosen.ids));
    if (!tried) return tried.reason();
    return answer;
}

}  // namespace

Answer QueueFlush(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnesOrAll(request, IsQueueId);
    return chosen ? Flush(*chosen) : chosen.reason();
}

Answer QueueHold(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnesOrAll(request, IsQueueId);
    return chosen ? DoChange(kHold, *chosen) : chosen.reason();
}

Answer QueueRelease(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnesOrAll(request, IsQueueId);
    return chosen ? Release(*chosen) : chosen.reason();
}

Answer QueueDelete(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnesOrAll(request, IsQueueId);
    return chosen ? DoChange(kDelete, *chosen) : chosen.reason();
}

}  // namespace upkeep
