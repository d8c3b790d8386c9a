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
#include "host/libmailvane/system/database.h"

using host::BuiltInWord;
using host::KeyValueFile;
using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

namespace {

/// What the file holds.
struct Stored {
    bool enabled = false;
    std::string rcpt;
    Reporter::Sender sender;
    Reporter::Time time;
    Reporter::SMTP smtp;
    std::string stored;        ///< the stored password
    std::string givenFor;      ///< the server and port that it was given for
    bool givenForTls = false;  ///< to be told with TLS alone
};

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

const Subject kStore = Subject::List("report");
const char kCannotRead[] = "cannot read the settings of the report";
const char kCannotStore[] = "cannot store the settings of the report";

/// The class tells a failure by an exception, which says `what` failed.
void Require(const Result<void>& result, const char* what)
{
    if (!host::Succeeded(result)) throw std::runtime_error(what);
}

/// Throws an exception with the name of what is invalid, but not its value.
void Require(const Result<void>& checked)
{
    if (!checked) Require(checked, checked.reason().about.text().c_str());
}

/// A setting of the report as the file and the log name it, and as requests do.
struct Setting {
    const char* name;
    BuiltInWord member;
};

constexpr Setting kRecipients{"rcpt", "report_rcpt"};
constexpr Setting kSenderName{"sender_name", "report_sender_name"};
constexpr Setting kSenderMail{"sender_mail", "report_sender_mail"};
constexpr Setting kProvider{"smtp_provider", "smtp_provider"};
constexpr Setting kServer{"smtp_server", "smtp_server"};
constexpr Setting kPort{"smtp_port", "smtp_port"};
constexpr Setting kAccount{"smtp_account", "auth_name"};
constexpr Setting kPassword{"smtp_password", "auth_password"};

/// Refuses a setting that is not sound.
Result<void> Sound(bool sound, ReasonCode code, const Setting& setting)
{
    if (sound) return {};
    return Reason{code, Subject::Setting(setting.member),
                  std::string("report: ") + setting.name + " is not one that can be used"};
}

Result<void> IsText(const std::string& text, const Setting& setting)
{
    return Sound(host::names::IsPlainText(text), ReasonCode::kNotText, setting);
}

Result<void> CheckRecipients(const std::string& list)
{
    const std::vector<std::string> recipients = host::pages::ReportRecipients(list);
    return Sound(host::names::IsPlainText(list) &&
                     std::all_of(recipients.begin(), recipients.end(), host::names::IsFullAddress),
                 ReasonCode::kNoAddress, kRecipients);
}

Result<void> CheckSender(const Reporter::Sender& sender)
{
    Result<void> checked = IsText(sender.name, kSenderName);
    if (!checked) return checked;
    return Sound(sender.mail.empty() || host::names::IsFullAddress(sender.mail),
                 ReasonCode::kNoAddress, kSenderMail);
}

Result<void> CheckAccount(const Reporter::SMTP& account)
{
    Result<void> checked = IsText(account.provider, kProvider);
    if (checked) {
        checked = Sound(host::names::IsHostOrAddressOrEmpty(account.server), ReasonCode::kBadFormat,
                        kServer);
    }
    if (checked) {
        checked = Sound(account.port >= 0 && account.port <= kHighestPort, ReasonCode::kOutOfRange,
                        kPort);
    }
    if (checked) checked = IsText(account.account, kAccount);
    if (checked) checked = IsText(account.password, kPassword);
    return checked;
}

Stored Parse(const KeyValueFile& file)
{
    const auto text = [&file](const char* key) { return file.Get(key).value_or(""); };
    Stored stored;
    stored.enabled = text("enabled") == "yes";
    stored.rcpt = text("rcpt");
    stored.sender = {text("sender_name"), text("sender_mail")};
    stored.time = {Number(text("hours")), Number(text("mins"))};
    stored.smtp.provider = text("smtp_provider");
    stored.smtp.server = text("smtp_server");
    stored.smtp.port = static_cast<int>(Number(text("smtp_port")));
    stored.smtp.auth = text("smtp_auth") == "yes";
    stored.smtp.account = text("smtp_account");
    stored.smtp.password = text("smtp_password");
    stored.smtp.secure = text("smtp_secure") == "yes";
    stored.stored = stored.smtp.password;
    stored.givenFor = file.Get("smtp_password_for").value_or(ServerOf(stored.smtp));
    stored.givenForTls = file.Get("smtp_password_tls").value_or(YesNo(stored.smtp.secure)) == "yes";
    return stored;
}

}  // namespace

struct Reporter::State : Stored {
    void JudgePassword();
};

/// A password that was not typed stays that of the server it was given for, also while no login is
/// asked for.
void Reporter::State::JudgePassword()
{
    if (host::NotedRequest().typesPassword || smtp.password != stored) {
        givenFor = ServerOf(smtp);
        givenForTls = smtp.secure;
    } else if (smtp.auth && !stored.empty()) {
        constexpr Setting kGivenElsewhere{
            "smtp_password, which was given for another server, another port or TLS,",
            kPassword.member};
        Require(Sound(givenFor == ServerOf(smtp) && (smtp.secure || !givenForTls),
                      ReasonCode::kTypeAgain, kGivenElsewhere));
        givenForTls = smtp.secure;
    }
}

host::Result<void> host::pages::CheckReport(const std::string& path)
{
    const auto file = KeyValueFile::Read(path);
    if (!file && errno == ENOENT) return {};
    if (!file) return SystemReason(kStore, kCannotRead);

    const Stored stored = Parse(*file);
    Result<void> checked = CheckRecipients(stored.rcpt);
    if (checked) checked = CheckSender(stored.sender);
    if (checked) checked = CheckAccount(stored.smtp);
    return checked;
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
        Require(host::SystemReason(kStore, kCannotRead), kCannotRead);
    }

    static_cast<Stored&>(*reporter.state_) = Parse(*file);
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
    for (const auto& [name, value] : lines) {
        if (file.Set(name, value)) continue;
        Require(Reason{ReasonCode::kNotText, kStore,
                       std::string("report: ") + name + " is not one that can be stored"});
    }
    if (!file.Write(SettingsPath(), 0600)) {
        Require(host::SystemReason(kStore, kCannotStore), kCannotStore);
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
    Require(CheckRecipients(recipient));
    state_->rcpt = recipient;
    return 0;
}

int Reporter::SetSender(const Sender& sender)
{
    Require(CheckSender(sender));
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
    Require(CheckAccount(account));
    state_->smtp = account;
    return 0;
}
