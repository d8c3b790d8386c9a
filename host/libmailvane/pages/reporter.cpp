// Settings of the daily report: etc/report.conf, mode 0600, since it has the password of the
// account that sends it.
#include "host/libmailvane/pages/reporter.h"

#include "platform/mailvane/reporter.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/request_note.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/save/recovery.h"

using host::KeyValueFile;
using host::Reason;
using host::ReasonCode;
using host::Result;

struct Reporter::State {
    bool enabled = false;
    std::string rcpt;
    Sender sender;
    Time time;
    SMTP smtp;
    std::string stored;        ///< the stored password
    std::string givenFor;      ///< the server and port that it was given for
    bool givenForTls = false;  ///< to be told with TLS alone

    void JudgePassword();
};

namespace {

constexpr int kHighestPort = 65535;
constexpr int kSubmissionPort = 587;

std::string SettingsPath()
{
    return host::PackagePath("etc/report.conf");
}

std::string YesNo(bool flag)
{
    return flag ? "yes" : "no";
}

unsigned int Number(const std::string& text)
{
    return static_cast<unsigned int>(strtoul(text.c_str(), nullptr, 10));
}

/// The server that these settings send a password to.
std::string ServerOf(const Reporter::SMTP& account)
{
    return account.server + ":" + std::to_string(account.port);
}

const char kCannotRead[] = "cannot read the settings of the report";
const char kCannotStore[] = "cannot store the settings of the report";

/// The class tells a failure by an exception, which says `what` failed.
void Require(const Result<void>& result, const char* what)
{
    if (!host::Succeeded(result)) throw std::runtime_error(what);
}

/// Throws an exception with the setting's name, but not its value, when it is invalid.
void Require(bool sound, const char* setting)
{
    if (sound) return;
    Require(Reason{ReasonCode::kRefused, setting,
                   std::string("report: ") + setting + " is not one that can be used"},
            setting);
}

}  // namespace

/// A password that was not typed stays that of the server it was given for, also while no login is
/// asked for.
void Reporter::State::JudgePassword()
{
    if (host::NotedRequest().typesPassword || smtp.password != stored) {
        givenFor = ServerOf(smtp);
        givenForTls = smtp.secure;
    } else if (smtp.auth && !stored.empty()) {
        Require(givenFor == ServerOf(smtp) && (smtp.secure || !givenForTls),
                "smtp_password, which was given for another server, another port or TLS,");
        givenForTls = smtp.secure;
    }
}

std::vector<std::string> host::pages::ReportRecipients(const std::string& list)
{
    std::vector<std::string> recipients;
    std::size_t start = 0;
    while (start < list.size()) {
        const std::size_t end = std::min(list.find_first_of(",;", start), list.size());
        const std::string recipient(Trim(list.substr(start, end - start)));
        if (!recipient.empty()) recipients.push_back(recipient);
        start = end + 1;
    }
    return recipients;
}

Reporter::Sender::Sender() = default;

Reporter::Sender::Sender(const std::string& who, const std::string& address)
    : name(who), mail(address)
{
}

Reporter::Time::Time() = default;

Reporter::Time::Time(unsigned int hour, unsigned int minute) : hours(hour), mins(minute) {}

Reporter::Reporter() : state_(new State)
{
    state_->smtp.port = kSubmissionPort;
    state_->smtp.secure = true;
}

Reporter::Reporter(const Reporter& other) : state_(new State(*other.state_)) {}

Reporter& Reporter::operator=(const Reporter& other)
{
    if (this != &other) *state_ = *other.state_;
    return *this;
}

Reporter::~Reporter()
{
    delete state_;
}

Reporter Reporter::LoadSetting()
{
    Reporter reporter;
    const auto file = KeyValueFile::Read(SettingsPath());
    if (!file) {
        if (errno == ENOENT) return reporter;
        Require(host::SystemReason(SettingsPath(), kCannotRead), kCannotRead);
    }

    const auto text = [&file](const char* key) { return file->Get(key).value_or(""); };
    State& state = *reporter.state_;
    state.enabled = text("enabled") == "yes";
    state.rcpt = text("rcpt");
    state.sender = {text("sender_name"), text("sender_mail")};
    state.time = {Number(text("hours")), Number(text("mins"))};
    state.smtp.provider = text("smtp_provider");
    state.smtp.server = text("smtp_server");
    state.smtp.port = static_cast<int>(Number(text("smtp_port")));
    state.smtp.auth = text("smtp_auth") == "yes";
    state.smtp.account = text("smtp_account");
    state.smtp.password = text("smtp_password");
    state.smtp.secure = text("smtp_secure") == "yes";
    state.stored = state.smtp.password;
    state.givenFor = file->Get("smtp_password_for").value_or(ServerOf(state.smtp));
    state.givenForTls = file->Get("smtp_password_tls").value_or(YesNo(state.smtp.secure)) == "yes";
    return reporter;
}

int Reporter::SaveSetting()
{
    const host::save::WriteScope scope;
    Require(scope.ready(), "the lock was not had in time");

    state_->JudgePassword();
    const State& state = *state_;
    KeyValueFile file = KeyValueFile::Parse("");
    const std::pair<const char*, std::string> lines[] = {
        {"enabled", YesNo(state.enabled)},
        {"rcpt", state.rcpt},
        {"sender_name", state.sender.name},
        {"sender_mail", state.sender.mail},
        {"hours", std::to_string(state.time.hours)},
        {"mins", std::to_string(state.time.mins)},
        {"smtp_provider", state.smtp.provider},
        {"smtp_server", state.smtp.server},
        {"smtp_port", std::to_string(state.smtp.port)},
        {"smtp_auth", YesNo(state.smtp.auth)},
        {"smtp_account", state.smtp.account},
        {"smtp_password", state.smtp.password},
        {"smtp_secure", YesNo(state.smtp.secure)},
        {"smtp_password_for", state.givenFor},
        {"smtp_password_tls", YesNo(state.givenForTls)},
    };
    for (const auto& line : lines) Require(file.Set(line.first, line.second), line.first);
    if (!file.Write(SettingsPath(), 0600)) {
        Require(host::SystemReason(SettingsPath(), kCannotStore), kCannotStore);
    }
    return 0;
}

bool Reporter::IsEnabled() const
{
    return state_->enabled;
}

std::string Reporter::GetRcpt() const
{
    return state_->rcpt;
}

Reporter::Sender Reporter::GetSender() const
{
    return state_->sender;
}

Reporter::Time Reporter::GetReportTime() const
{
    return state_->time;
}

Reporter::SMTP Reporter::GetSMTP() const
{
    return state_->smtp;
}

int Reporter::SetEnable(bool enabled)
{
    state_->enabled = enabled;
    return 0;
}

int Reporter::SetRcpt(const std::string& recipient)
{
    const std::vector<std::string> recipients = host::pages::ReportRecipients(recipient);
    Require(host::names::IsPlainText(recipient) &&
                std::all_of(recipients.begin(), recipients.end(), host::names::IsFullAddress),
            "rcpt");
    state_->rcpt = recipient;
    return 0;
}

int Reporter::SetSender(const Sender& sender)
{
    Require(host::names::IsPlainText(sender.name), "sender_name");
    Require(sender.mail.empty() || host::names::IsFullAddress(sender.mail), "sender_mail");
    state_->sender = sender;
    return 0;
}

int Reporter::SetTime(const Time& time)
{
    state_->time = time;
    return 0;
}

int Reporter::SetSMTP(const SMTP& account)
{
    Require(host::names::IsPlainText(account.provider), "smtp_provider");
    Require(host::names::IsHostOrAddressOrEmpty(account.server), "smtp_server");
    Require(account.port >= 0 && account.port <= kHighestPort, "smtp_port");
    Require(host::names::IsPlainText(account.account), "smtp_account");
    Require(host::names::IsPlainText(account.password), "smtp_password");
    state_->smtp = account;
    return 0;
}
