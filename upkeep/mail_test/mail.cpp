// A message to a mail user or the postmaster, followed through the mail server's log.
#include <json/json.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/random_text.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/mail_account.h"
#include "upkeep/log_lines/message_log.h"
#include "upkeep/mail_test/calls.h"
#include "upkeep/mail_test/outcome.h"
#include "upkeep/queue/spool.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using host::settings::StoredSettings;
using Clock = std::chrono::steady_clock;

constexpr char kLastTest[] = "/run/mailvane/mail_test";  // a file as old as the last one
constexpr char kPostmaster[] = "postmaster";
constexpr std::time_t kPause = 60;             // seconds from one to the next
constexpr std::chrono::seconds kPatience{13};  // the last look may take two more
constexpr std::chrono::milliseconds kBetweenLooks{300};
constexpr std::chrono::seconds kHandOver{3};

/// Whom a request names, as the mail server knows them.
Result<std::string> Recipient(const Request& request)
{
    std::string name = request.Text("to");
    if (name.empty() || name == kPostmaster) return std::string(kPostmaster);
    const auto account = host::system::FindMailAccount(name);
    if (!account) {
        return Reason{account.reason().code, Subject::Setting("to"), account.reason().text};
    }
    // What means more than itself in a list of addresses is no name to be tried.
    const bool isPlain = std::all_of(account->name.begin(), account->name.end(), [](char c) {
        return host::IsLetterOrDigit(c) || c == '.' || c == '_' || c == '-';
    });
    if (isPlain) return account->name;
    return Reason{ReasonCode::kNoName, Subject::Setting("to"), "not a plain name"};
}

/// Refuses a test soon after the last one. Its request is the only one of its kind.
Result<void> TakeTurn()
{
    const std::string path = host::Path(kLastTest);
    struct stat last;
    const std::time_t now = std::time(nullptr);
    // A clock that was turned back does not count.
    if (stat(path.c_str(), &last) == 0 && last.st_mtime <= now && now - last.st_mtime < kPause) {
        return Reason{ReasonCode::kTooMany, Subject::Setting("to"), "the last was a minute ago"};
    }
    if (!host::ReplaceFile(path, "", 0600)) return host::SystemReason("", "write " + path);
    return {};
}

Result<void> HandOver(const std::string& to, const StoredSettings& settings, const std::string& id)
{
    const std::string& host = settings.Text("smtp_hostname");
    host::ProgramOptions options;
    options.limit = kHandOver;
    options.capture = true;
    options.input = "From: <postmaster@" + settings.MailDomain() + ">\nTo: <" + to +
                    ">\nSubject: Test of the mail server " + host + "\nMessage-ID: <" + id +
                    ">\nAuto-Submitted: auto-generated\n\n"
                    "This message was sent to try whether mail arrives.\n";
    // What cannot be delivered goes back to nobody.
    host::ProgramResult result = host::RunProgram(
        {host::programs::kSendmail, "-C", MailServerFiles(), "-i", "-f", "<>", "--", to}, options);
    return std::move(result.done).About(Subject::Service("postfix"));
}

const char* WordOf(Outcome::State state)
{
    switch (state) {
        case Outcome::State::kDelivered:
            return "delivered";
        case Outcome::State::kRefused:
            return "refused";
        default:
            return "waits";
    }
}

/// Follows a message until there is an outcome, or for as long as there is time.
Answer Follow(const std::string& to, const std::string& messageId)
{
    const Clock::time_point end = Clock::now() + kPatience;
    for (;;) {
        const Result<Json::Value> log = ReadMessageLog(messageId);
        if (!log) return log.reason();
        const Outcome outcome = OutcomeOf((*log)["lines"]);
        if (outcome.state == Outcome::State::kUnderWay && Clock::now() < end) {
            std::this_thread::sleep_for(kBetweenLooks);
            continue;
        }
        const Json::Value& ids = (*log)["ids"];
        Json::Value answer;
        answer["to"] = to;
        answer["outcome"] = WordOf(outcome.state);
        answer["reason"] = outcome.reason;
        answer["id"] = ids.empty() ? "" : ids[0].asString();
        return answer;
    }
}

}  // namespace

Answer MailTest(const Request& request)
{
    const Result<StoredSettings> settings = StoredSettings::Read();
    if (!settings) return settings.reason();
    const Result<std::string> name = Recipient(request);
    if (!name) return name.reason();
    Result<void> done = TakeTurn();
    if (!done) return std::move(done).reason();

    host::NoteChange(*name);
    const std::string to = *name + "@" + settings->MailDomain();
    const std::string id = host::RandomDigits() + ".test@" + settings->Text("smtp_hostname");
    done = HandOver(to, *settings, id);
    if (!done) return std::move(done).reason();
    return Follow(to, id);
}

}  // namespace upkeep
