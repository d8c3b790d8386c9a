// Settings of the daily report: load_report, save_report.
#include "frame/mailvane_handler.h"
#include "platform/mailvane/reporter.h"

namespace {

void ReadReport(Json::Value& response)
{
    const Reporter reporter = Reporter::LoadSetting();
    response["enable_report"] = reporter.IsEnabled();
    response["report_rcpt"] = reporter.GetRcpt();
    const Reporter::Sender sender = reporter.GetSender();
    response["report_sender_name"] = sender.name;
    response["report_sender_mail"] = sender.mail;
    const Reporter::Time time = reporter.GetReportTime();
    response["hours"] = time.hours;
    response["mins"] = time.mins;
    const Reporter::SMTP smtp = reporter.GetSMTP();
    response["smtp_provider"] = smtp.provider;
    response["smtp_server"] = smtp.server;
    response["smtp_port"] = smtp.port;
    response["smtp_auth"] = smtp.auth;
    response["auth_name"] = smtp.account;
    response["auth_password"] = kReportPasswordMask;  // write-only: never sent to the client
    response["smtp_security_conn"] = smtp.secure;
}

void StoreReport(const Json::Value& in)
{
    Reporter reporter = Reporter::LoadSetting();
    Reporter::SMTP smtp = reporter.GetSMTP();
    reporter.SetEnable(in["enable_report"].asBool());
    reporter.SetRcpt(in["report_rcpt"].asString());
    reporter.SetTime(Reporter::Time(static_cast<unsigned int>(in["hours"].asInt()),
                                    static_cast<unsigned int>(in["mins"].asInt())));
    reporter.SetSender(
        Reporter::Sender(in["report_sender_name"].asString(), in["report_sender_mail"].asString()));
    smtp.provider = in["smtp_provider"].asString();
    smtp.server = in["smtp_server"].asString();
    smtp.port = in["smtp_port"].asInt();
    smtp.auth = in["smtp_auth"].asBool();
    smtp.account = in["auth_name"].asString();
    const std::string password = in["auth_password"].asString();
    if (password != kReportPasswordMask) smtp.password = password;
    smtp.secure = in["smtp_security_conn"].asBool();
    reporter.SetSMTP(smtp);
    reporter.SaveSetting();
}

/// Runs `steps` and answers a system error for every exception: the platform's report throws on
/// failure, the JSON library on a member of another type.
template <typename Steps>
Outcome Guarded(const Steps& steps)
{
    try {
        steps();
    } catch (...) {
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadReport()
{
    Json::Value response;
    Answer(response, Guarded([&response] { ReadReport(response); }));
}

void MailvaneHandler::SaveReport(Json::Value& in)
{
    const Json::Value& body = in;
    Json::Value response;
    Answer(response, Guarded([&body] { StoreReport(body); }));
}
