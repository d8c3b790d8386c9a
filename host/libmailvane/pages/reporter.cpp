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

using Setting = host::pages::ReportSetting;

constexpr const Setting& kRecipients = host::pages::ReportSettingOf("rcpt");
constexpr const Setting& kSenderName = host::pages::ReportSettingOf("sender_name");
constexpr const Setting& kSenderMail = host::pages::ReportSettingOf("sender_mail");
constexpr const Setting& kProvider = host::pages::ReportSettingOf("smtp_provider");
constexpr const Setting& kServer = host::pages::ReportSettingOf("smtp_server");
constexpr const Setting& kPort = host::pages::ReportSettingOf("smtp_port");
constexpr const Setting& kAccount = host::pages::ReportSettingOf("smtp_account");
constexpr const Setting& kPassword = host::pages::ReportSettingOf("smtp_password");

/// Refuses a setting that is not sound.
Result<void> Sound(bool sound, ReasonCode code, const Setting& setting)
{
    if (sound) return {};
    return Reason{code, Subject::Setting({setting, &Setting::member}),
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

Result<void> CheckAll(const Stored& stored)
{
    Result<void> checked = CheckRecipients(stored.rcpt);
    if (checked) checked = CheckSender(stored.sender);
    if (checked) checked = CheckAccount(stored.smtp);
    return checked;
}

/// A password that was not typed stays that of the server it was given for, also while no login is
/// asked for.
Result<void> JudgePassword(Stored& report, bool typed)
{
    const Reporter::SMTP& smtp = report.smtp;
    if (typed || smtp.password != report.stored) {
        report.givenFor = ServerOf(smtp);
        report.givenForTls = smtp.secure;
        return {};
    }
    if (!smtp.auth || report.stored.empty()) return {};
    if (report.givenFor != ServerOf(smtp) || (report.givenForTls && !smtp.secure)) {
        return Reason{ReasonCode::kTypeAgain, Subject::Setting({kPassword, &Setting::member}),
                      "report: smtp_password, which was given for another server, another port or "
                      "TLS, is not one that can be used"};
    }
    report.givenForTls = smtp.secure;
    return {};
}

Stored Defaults()
{
    Stored report;
    report.smtp.port = kSubmissionPort;
    report.smtp.secure = true;
    return report;
}

/// The file of these settings. Fails for a value with a line feed.
Result<KeyValueFile> FileOf(const Stored& report)
{
    const std::pair<const char*, std::string> lines[] = {
        {"enabled", YesNo(report.enabled)},
        {"rcpt", report.rcpt},
        {"sender_name", report.sender.name},
        {"sender_mail", report.sender.mail},
        {"hours", std::to_string(report.time.hours)},
        {"mins", std::to_string(report.time.mins)},
        {"smtp_provider", report.smtp.provider},
        {"smtp_server", report.smtp.server},
        {"smtp_port", std::to_string(report.smtp.port)},
        {"smtp_auth", YesNo(report.smtp.auth)},
        {"smtp_account", report.smtp.account},
        {"smtp_password", report.smtp.password},
        {"smtp_secure", YesNo(report.smtp.secure)},
        {"smtp_password_for", report.givenFor},
        {"smtp_password_tls", YesNo(report.givenForTls)},
    };
    KeyValueFile file = KeyValueFile::Parse("");
    for (const auto& [name, value] : lines) {
        if (file.Set(name, value)) continue;
        return Reason{ReasonCode::kNotText, kStore,
                      std::string("report: ") + name + " is not one that can be stored"};
    }
    return file;
}

/// The stored settings; the defaults when there are none.
Result<Stored> ReadStored(const std::string& path)
{
    const auto file = KeyValueFile::Read(path);
    if (file) return Parse(*file);
    if (errno == ENOENT) return Defaults();
    return host::SystemReason(kStore, kCannotRead);
}

Result<void> Write(const Stored& report, const std::string& path)
{
    const Result<KeyValueFile> file = FileOf(report);
    if (!file) return file.reason();
    if (file->Write(path, 0600)) return {};
    return host::SystemReason(kStore, kCannotStore);
}

}  // namespace

struct Reporter::State : Stored {};

host::Result<void> host::pages::CheckReport(const std::string& path)
{
    const Result<Stored> report = ReadStored(path);
    return report ? CheckAll(*report) : report.reason();
}

Result<std::map<std::string, std::string>> host::pages::ReadReport(const std::string& path)
{
    const Result<Stored> report = ReadStored(path);
    const Result<KeyValueFile> file = report ? FileOf(*report) : report.reason();
    if (!file) return file.reason();
    std::map<std::string, std::string> values;
    for (const ReportSetting& setting : kReportSettings) {
        values[setting.name] = file->Get(setting.name).value_or("");
    }
    return values;
}

Result<void> host::pages::ChangeReport(const std::string& path,
                                       const std::map<std::string, std::string>& changes,
                                       bool typesPassword)
{
    const Result<Stored> before = ReadStored(path);
    Result<KeyValueFile> file = before ? FileOf(*before) : before.reason();
    if (!file) return std::move(file).reason();
    for (const ReportSetting& setting : kReportSettings) {
        const auto change = changes.find(setting.name);
        if (change == changes.end() || file->Set(setting.name, change->second)) continue;
        return Reason{ReasonCode::kNotText, Subject::Setting({setting, &Setting::member}),
                      "is not one that can be stored"};
    }
    Stored report = Parse(*file);
    report.stored = before->stored;
    Result<void> good = CheckAll(report);
    if (good) good = JudgePassword(report, typesPassword);
    return good ? Write(report, path) : good;
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

Reporter::Reporter() : state_(new State{Defaults()}) {}

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
    const Result<Stored> stored = ReadStored(SettingsPath());
    if (!stored) Require(stored.reason(), kCannotRead);
    static_cast<Stored&>(*reporter.state_) = *stored;
    return reporter;
}

int Reporter::SaveSetting()
{
    const host::save::WriteScope scope;
    Require(scope.ready(), "the lock was not had in time");

    Require(JudgePassword(*state_, host::NotedRequest().typesPassword));
    const Result<void> written = Write(*state_, SettingsPath());
    if (!written) Require(written, kCannotStore);
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
