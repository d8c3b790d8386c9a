// Calls that do something with the mail that the scanner has kept aside. The scanner releases it by
// its own program, and the spam filter learns from copies of it, both as the scanner's user.
#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "upkeep/mail_text/reader.h"
#include "upkeep/quarantine/calls.h"
#include "upkeep/quarantine/kept_mail.h"
#include "upkeep/request/chosen.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using Ids = std::vector<std::string>;

constexpr std::chrono::seconds kLimit{15};  // less than a call has
constexpr std::size_t kMostLearned = 100;   // messages at once
constexpr std::size_t kLargestLearned = std::size_t{512} << 10;
constexpr std::size_t kLongestSaid = 300;
constexpr char kReleased[] = "250 ";

/// What became of the messages that were chosen.
struct Outcome {
    std::size_t done = 0;
    Ids gone;
    Ids failed;
};

Answer Told(const Outcome& outcome)
{
    Json::Value answer = DoneAndGone(outcome.done, outcome.gone);
    answer["failed"] = Json::Value(Json::arrayValue);
    for (const std::string& id : outcome.failed) answer["failed"].append(id);
    return answer;
}

host::ProgramResult RunAsScanner(const std::vector<std::string>& program, std::string input)
{
    host::ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    options.input = std::move(input);
    return host::RunProgram(AsScanner(program), options);
}

Reason Refusal(const host::ProgramResult& result, ReasonCode code)
{
    const std::string_view said = host::Trim(result.errors);
    const std::string_view last = said.substr(said.rfind('\n') + 1);
    return {result.done ? code : result.done.reason().code, Subject::Service("amavis"),
            "the scanner says: " + host::ShownText(last, kLongestSaid)};
}

/// Takes the ids out of what was chosen that are not there any more.
Ids Present(const Ids& chosen, Outcome& outcome)
{
    Ids present;
    for (const std::string& id : chosen) (OpenKept(id) ? present : outcome.gone).push_back(id);
    return present;
}

/// Has the scanner release messages. It answers each with a line, in their order.
Answer Release(const Ids& chosen)
{
    Outcome outcome;
    const Ids present = Present(chosen, outcome);
    std::string input;
    for (const std::string& id : present) input += id + "\n";
    if (present.empty()) return Told(outcome);

    const host::ProgramResult result =
        RunAsScanner({host::programs::kAmavisdRelease, "-"}, std::move(input));
    std::istringstream replies(result.errors);
    for (const std::string& id : present) {
        std::string reply;
        const bool done = std::getline(replies, reply) && reply.rfind(kReleased, 0) == 0;
        if (done) ++outcome.done;
        if (!done) outcome.failed.push_back(id);
    }
    if (outcome.done == 0) return Refusal(result, ReasonCode::kDaemonRefuses);
    return Told(outcome);
}

Answer Delete(const Ids& chosen)
{
    Outcome outcome;
    for (const std::string& id : Present(chosen, outcome)) {
        if (unlink((KeptFolder() + "/" + id).c_str()) == 0) {
            ++outcome.done;
        } else {
            (errno == ENOENT ? outcome.gone : outcome.failed).push_back(id);
        }
    }
    return Told(outcome);
}

/// A folder of the scanner's user, removed with all that is in it.
class ScannersFolder {
public:
    ScannersFolder() : path_(host::Path("/tmp/mailvane-learn.XXXXXX"))
    {
        const struct passwd* const owner = getpwnam("amavis");
        made_ = mkdtemp(path_.data()) != nullptr;
        good_ = made_ && owner != nullptr && chown(path_.c_str(), owner->pw_uid, 0) == 0;
    }
    ~ScannersFolder()
    {
        std::error_code ignored;
        if (made_) (void)std::filesystem::remove_all(path_, ignored);
    }
    ScannersFolder(const ScannersFolder&) = delete;
    ScannersFolder& operator=(const ScannersFolder&) = delete;

    explicit operator bool() const { return good_; }
    const std::string& Path() const { return path_; }

private:
    std::string path_;
    bool made_ = false;
    bool good_ = false;
};

/// Puts copies of messages there that its user can read.
bool Copy(const Ids& present, const ScannersFolder& folder, Outcome& outcome)
{
    for (const std::string& id : present) {
        const Result<std::string> message = ReadRaw(OpenKept(id), kLargestLearned);
        if (!message) {
            outcome.failed.push_back(id);
            continue;
        }
        // Under a name of its own: that of the file may say that it is packed.
        const std::string path = folder.Path() + "/" + std::to_string(outcome.done);
        if (!host::ReplaceFile(path, *message, 0644)) return false;
        ++outcome.done;
    }
    return true;
}

Answer Learn(const Ids& chosen, const std::string& kind)
{
    Outcome outcome;
    const ScannersFolder folder;
    const Ids present = Present(chosen, outcome);
    if (!folder || !Copy(present, folder, outcome)) {
        return host::SystemReason("", "messages cannot be copied for the spam filter");
    }
    if (outcome.done == 0) return Told(outcome);
    const host::ProgramResult result = RunAsScanner(
        {host::PackagePath("target/scripts/spam_learner.sh"), "--" + kind, folder.Path()}, "");
    return result.done ? Told(outcome) : Refusal(result, ReasonCode::kSystem);
}

}  // namespace

Answer QuarantineRelease(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnes(request, IsKeptId);
    if (!chosen) return chosen.reason();
    NoteChosen(*chosen);
    return Release(chosen->ids);
}

Answer QuarantineDelete(const Request& request)
{
    const Result<Chosen> chosen = ChosenOnes(request, IsKeptId);
    if (!chosen) return chosen.reason();
    NoteChosen(*chosen);
    return Delete(chosen->ids);
}

Answer QuarantineLearn(const Request& request)
{
    const std::string kind = request.Text("as");
    if (kind != "spam" && kind != "ham") {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("as"), "it is neither spam nor ham"};
    }
    const Result<Chosen> chosen = ChosenOnes(request, IsKeptId);
    if (!chosen) return chosen.reason();
    if (chosen->ids.size() > kMostLearned) {
        return Reason{ReasonCode::kTooMany, Subject::Setting("ids"), "too many ids were given"};
    }
    NoteChosen(*chosen);
    return Learn(chosen->ids, kind);
}

}  // namespace upkeep
