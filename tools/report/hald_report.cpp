// hald_report: composes the report and sends it through the configured account.
//
//   hald_report --due   sends it if its time has come; for the timer
//   hald_report --now   sends one about the last 24 hours, enabled or not
//   hald_report --send  hands over what the two have composed; they run it under a user of its own
//
// Exit status 0 when nothing was due or the report was taken, 1 when it was not, 2 for a wrong
// call.
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/reporter.h"
#include "platform/mailvane/reporter.h"
#include "tools/report/letter.h"
#include "tools/report/report_data.h"
#include "tools/report/report_text.h"
#include "tools/report/schedule.h"
#include "tools/report/sender.h"
#include "tools/report/smtp_client.h"

namespace {

constexpr std::int64_t kDay = 86400;

/// Composes and sends one; "" or why it was not sent.
std::string SendReport(const Reporter& reporter, const report::Period& period, std::int64_t now)
{
    const std::vector<std::string> recipients = host::pages::ReportRecipients(reporter.GetRcpt());
    std::string missing = report::Missing(reporter.GetSMTP(), recipients);
    if (!missing.empty()) return missing;

    const report::Data data = report::Gather(period);
    const std::string host = host::names::IsHostName(data.host) ? data.host : "localhost";
    const Reporter::Sender sender = reporter.GetSender();

    report::Letter letter;
    letter.fromName = sender.name;
    letter.fromMail = sender.mail.empty() ? "postmaster@" + host : sender.mail;
    letter.to = recipients;
    letter.host = host;
    letter.subject = report::Title(data);
    letter.plainText = report::PlainText(data);
    letter.html = report::Html(data);
    letter.date = now;
    return report::SendAsItsUser({reporter.GetSMTP(),
                                  {host, letter.fromMail, letter.to},
                                  report::MessageOf(letter),
                                  report::TrustedCertificates()});
}

int SendNow(const Reporter& reporter, std::int64_t now)
{
    const std::string failure = SendReport(reporter, {now - kDay, now}, now);
    if (failure.empty()) return 0;

    host::Log(LOG_ERR, "report: not sent: %s", failure.c_str());
    (void)fprintf(stderr, "hald_report: not sent: %s\n", failure.c_str());
    return 1;
}

int SendIfDue(const Reporter& reporter, std::int64_t now)
{
    const std::int64_t moment = report::LatestMoment(reporter.GetReportTime(), now);
    const auto progress = report::ReadProgress();
    if (!progress || !reporter.IsEnabled()) {
        // The first report tells about what comes after the report was switched on.
        const bool noted = progress && progress->doneUntil >= moment;
        return noted || report::WriteProgress({moment, 0, 0}) ? 0 : 1;
    }

    const auto period = report::DuePeriod(*progress, moment, now);
    if (!period) return 0;

    // Noted before it is made: an attempt that is killed, or whose end cannot be noted, is not made
    // again at every run.
    const report::Progress after = report::AfterFailure(*progress, now);
    if (!report::WriteProgress(after)) return 1;

    const std::string failure = SendReport(reporter, *period, now);
    if (failure.empty()) {
        host::Log(LOG_INFO, "report: sent");
        return report::WriteProgress({moment, 0, 0}) ? 0 : 1;
    }

    host::Log(LOG_ERR, "report: attempt %d failed, the next is in %d minutes: %s", after.attempts,
              static_cast<int>((after.nextAttempt - now) / 60), failure.c_str());
    return 1;
}

}  // namespace

int main(int count, char** arguments)
{
    const std::string verb = count == 2 ? arguments[1] : "";
    if (verb != "--due" && verb != "--now" && verb != "--send") {
        (void)fputs("usage: hald_report --due | --now\n", stderr);
        return 2;
    }

    try {
        if (verb == "--send") return report::SendFromInput();
        const auto now = static_cast<std::int64_t>(std::time(nullptr));
        const Reporter reporter = Reporter::LoadSetting();
        return verb == "--now" ? SendNow(reporter, now) : SendIfDue(reporter, now);
    } catch (const std::exception& failure) {
        host::Log(LOG_ERR, "report: %s", failure.what());
        return 1;
    }
}
