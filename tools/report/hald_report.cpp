// hald_report: composes the report and sends it through the configured account; so it does with
// what the self-check finds in between, where that is wanted.
//
//   hald_report --due   sends what is due, the report and news of the self-check; for the timer
//   hald_report --now   sends one about the last 24 hours, enabled or not
//   hald_report --told  the same, and tells what became of it as JSON, within 15 seconds
//   hald_report --send  hands over what the others have composed; they run it under a user of its
//   own
//
// Exit status: 0 when all was sent or nothing was due, 1 when sending failed, 2 for wrong
// arguments.
#include <json/json.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/pages/reporter.h"
#include "platform/mailvane/reporter.h"
#include "tools/report/check_watch.h"
#include "tools/report/letter.h"
#include "tools/report/report_data.h"
#include "tools/report/report_text.h"
#include "tools/report/schedule.h"
#include "tools/report/sender.h"
#include "tools/report/smtp_client.h"

namespace {

constexpr std::int64_t kDay = 86400;
constexpr int kPatience = 120;  // seconds
constexpr int kShortPatience = 15;

/// Sends a page about the mail server `host` through the account.
host::Result<void> SendPage(const Reporter& reporter, const report::Page& page,
                            const std::string& host, std::int64_t now, int seconds = kPatience)
{
    const std::vector<std::string> recipients = host::pages::ReportRecipients(reporter.GetRcpt());
    host::Result<void> complete = report::CheckAccount(reporter.GetSMTP(), recipients);
    if (!complete) return complete;

    const Reporter::Sender sender = reporter.GetSender();

    report::Letter letter;
    letter.fromName = sender.name;
    letter.fromMail = sender.mail.empty() ? "postmaster@" + host : sender.mail;
    letter.to = recipients;
    letter.host = host;
    letter.subject = page.title;
    letter.plainText = report::PlainText(page);
    letter.html = report::Html(page);
    letter.date = now;
    return report::SendAsItsUser({reporter.GetSMTP(),
                                  {host, letter.fromMail, letter.to},
                                  report::MessageOf(letter),
                                  report::TrustedCertificates(),
                                  seconds});
}

/// Makes and sends a report.
host::Result<void> SendReport(const Reporter& reporter, const report::Period& period,
                              std::int64_t now, int seconds = kPatience)
{
    const report::Data data = report::Gather(period);
    return SendPage(reporter, report::PageOf(data), data.host, now, seconds);
}

/// Tells where a report about the last 24 hours went, and by a reason's word why it was not taken.
host::Result<void> SendAndTell(const Reporter& reporter, std::int64_t now)
{
    const host::Result<void> sent = SendReport(reporter, {now - kDay, now}, now, kShortPatience);
    const Reporter::SMTP account = reporter.GetSMTP();
    Json::Value told;
    Json::Value& to = told["to"] = Json::Value(Json::arrayValue);
    for (const std::string& one : host::pages::ReportRecipients(reporter.GetRcpt())) to.append(one);
    told["server"] = account.server;
    told["port"] = account.port;
    told["taken"] = static_cast<bool>(sent);
    told["code"] = sent ? "" : host::WordOf(sent.reason().code);
    std::cout << told;
    return host::Result<void>(sent).Prefixed("not sent: ");
}

host::Result<void> SendNow(const Reporter& reporter, std::int64_t now)
{
    const host::Result<void> sent = SendReport(reporter, {now - kDay, now}, now);
    if (!sent) (void)fprintf(stderr, "hald_report: not sent: %s\n", sent.reason().text.c_str());
    return host::Result<void>(sent).Prefixed("not sent: ");
}

host::Result<void> SendIfDue(const Reporter& reporter, std::int64_t now)
{
    const std::int64_t moment = report::LatestMoment(reporter.GetReportTime(), now);
    const auto progress = report::ReadProgress();
    if (!progress || !reporter.IsEnabled()) {
        // The first report covers the time since reports were switched on.
        const bool noted = progress && progress->doneUntil >= moment;
        return noted ? host::Result<void>() : report::WriteProgress({moment, 0, 0});
    }

    const auto period = report::DuePeriod(*progress, moment, now);
    if (!period) return {};

    // Stored before the attempt, so that one that is killed is not repeated at every run.
    const report::Progress after = report::AfterFailure(*progress, now);
    host::Result<void> done = report::WriteProgress(after);
    if (!done) return done;

    done = SendReport(reporter, *period, now)
               .Prefixed("attempt " + std::to_string(after.attempts) + " failed, the next is in " +
                         std::to_string((after.nextAttempt - now) / 60) + " minutes: ");
    if (!done) return done;
    host::Log(LOG_INFO, "report: sent");
    return report::WriteProgress({moment, 0, 0});
}

/// Runs the self-check if it is due, and tells what has become bad since.
host::Result<void> WatchChecks(const Reporter& reporter, std::int64_t now)
{
    const report::CheckMemory memory = report::ReadCheckMemory();
    if (!report::ChecksAreMailed() || !report::CheckIsDue(memory, now)) return {};

    const auto results = report::RunSelfCheck();
    if (results.empty()) {
        return host::Reason{host::ReasonCode::kUnreadable, "self-check", "it cannot be run"};
    }
    const report::CheckNews news = report::NewsOf(results, memory);
    const std::string host = report::ServerName();
    const host::Result<void> sent = news.IsEmpty()
                                        ? host::Result<void>()
                                        : SendPage(reporter, report::PageOf(news, host), host, now);
    host::Result<void> noted =
        report::WriteCheckMemory(report::Remembered(results, memory, static_cast<bool>(sent), now));
    return sent ? noted : sent;
}

/// Sends what is due.
bool SendWhatIsDue(const Reporter& reporter, std::int64_t now)
{
    const bool checks =
        host::Succeeded(WatchChecks(reporter, now).Prefixed("news of the checks: "));
    return host::Succeeded(SendIfDue(reporter, now).Prefixed("report: ")) && checks;
}

/// The stored settings; nothing when they cannot be read, which has been logged by then.
std::optional<Reporter> StoredReporter()
{
    try {
        return Reporter::LoadSetting();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace

int main(int count, char** arguments)
{
    const std::string verb = count == 2 ? arguments[1] : "";
    if (verb != "--due" && verb != "--now" && verb != "--told" && verb != "--send") {
        (void)fputs("usage: hald_report --due | --now\n", stderr);
        return 2;
    }

    try {
        if (verb == "--send") return report::SendFromInput();
        const auto now = static_cast<std::int64_t>(std::time(nullptr));
        const std::optional<Reporter> reporter = StoredReporter();
        if (!reporter) return 1;
        if (verb == "--due") return SendWhatIsDue(*reporter, now) ? 0 : 1;
        host::Result<void> done =
            verb == "--now" ? SendNow(*reporter, now) : SendAndTell(*reporter, now);
        return host::Succeeded(std::move(done).Prefixed("report: ")) ? 0 : 1;
    } catch (const std::exception& failure) {
        host::Log(LOG_ERR, "report: %s", failure.what());
        return 1;
    }
}
