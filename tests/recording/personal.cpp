// Personal settings, of which changes are noted but for the texts of replies; the account type; the
// report, kept in memory.
#include "platform/mailvane/personal.h"

#include <stdexcept>

#include "platform/mailvane/reporter.h"
#include "platform/mailvane/smtp.h"
#include "tests/recording/call.h"

using recording::Call;
using recording::CallOr;
using recording::PersonalData;
using recording::ReplyText;
using recording::ReportData;
using recording::TheWorld;

struct Personal::State {
    std::string user;
    PersonalData data;

    PersonalData& Stored() const { return TheWorld().personal[user]; }
};

Personal::Personal(const std::string& user) : state_(new State{user, TheWorld().personal[user]})
{
    Call("Personal::Personal", user);
}

Personal::~Personal()
{
    delete state_;
}

bool Personal::isValid()
{
    return state_->data.valid;
}

std::string Personal::getErrKey()
{
    return state_->data.errKey;
}

bool Personal::isEnabledForward()
{
    return state_->data.forward;
}

std::string Personal::getForwardAddr()
{
    return state_->data.forwardAddr;
}

bool Personal::isKeepCopy()
{
    return state_->data.keepCopy;
}

bool Personal::isEnabledReply()
{
    return state_->data.reply;
}

long Personal::GetReplyBeginTime() const
{
    return state_->data.replyBegin;
}

long Personal::GetReplyEndTime() const
{
    return state_->data.replyEnd;
}

void Personal::setForward(bool enabled)
{
    Call("Personal::setForward", enabled);
}

void Personal::setForwardAddr(const std::string& address)
{
    Call("Personal::setForwardAddr", address);
}

void Personal::setKeepCopy(bool keep)
{
    Call("Personal::setKeepCopy", keep);
}

void Personal::setReply(bool enabled)
{
    Call("Personal::setReply", enabled);
}

void Personal::SetReplyBeginTime(long seconds)
{
    Call("Personal::SetReplyBeginTime", seconds);
}

void Personal::SetReplyEndTime(long seconds)
{
    Call("Personal::SetReplyEndTime", seconds);
}

int Personal::ReadReplyContent(const char* sender, std::string& subject, std::string& message)
{
    const PersonalData& stored = state_->Stored();
    const ReplyText* reply = &stored.generalReply;
    if (sender != nullptr) {
        const auto entry = stored.senderReplies.find(sender);
        reply = entry == stored.senderReplies.end() ? nullptr : &entry->second;
    }
    const int result = CallOr(reply == nullptr ? -1 : 0, "Personal::ReadReplyContent", sender);
    if (result < 0 || reply == nullptr) return result;

    subject = reply->first;
    message = reply->second;
    return result;
}

int Personal::WriteReplyContent(const char* sender, const std::string& subject,
                                const std::string& message)
{
    const int result = Call("Personal::WriteReplyContent", sender, subject, message);
    if (result < 0) return result;

    PersonalData& stored = state_->Stored();
    (sender == nullptr ? stored.generalReply : stored.senderReplies[sender]) = {subject, message};
    return result;
}

std::list<std::string> Personal::GetReplyList()
{
    Call("Personal::GetReplyList");
    std::list<std::string> senders;
    for (const auto& reply : state_->Stored().senderReplies) senders.push_back(reply.first);
    return senders;
}

int Personal::RemoveReplySetting(const std::string& sender)
{
    const int result = Call("Personal::RemoveReplySetting", sender);
    if (result >= 0) state_->Stored().senderReplies.erase(sender);
    return result;
}

int Personal::save()
{
    return Call("Personal::save");
}

struct SMTP::State {
    std::string accountType;
};

SMTP::SMTP() : state_(new State) {}

SMTP::~SMTP()
{
    delete state_;
}

int SMTP::load()
{
    const int result = Call("SMTP::load");
    if (result >= 0) {
        state_->accountType = TheWorld().postfix.ToJson()["account_type"].asString();
    }
    return result;
}

std::string SMTP::getAccountType() const
{
    return state_->accountType;
}

struct Reporter::State {
    ReportData data;
};

namespace {

/// A negative result of the report's operations is thrown.
int Thrown(int result)
{
    if (result < 0) throw std::runtime_error("report failed");

    return result;
}

}  // namespace

Reporter::Sender::Sender() = default;

Reporter::Sender::Sender(const std::string& who, const std::string& address)
    : name(who), mail(address)
{
}

Reporter::Time::Time() = default;

Reporter::Time::Time(unsigned int hour, unsigned int minute) : hours(hour), mins(minute) {}

Reporter::Reporter() : state_(new State{TheWorld().report}) {}

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
    Thrown(Call("Reporter::LoadSetting"));
    return Reporter();
}

int Reporter::SaveSetting()
{
    const int result = Thrown(Call("Reporter::SaveSetting"));
    TheWorld().report = state_->data;
    return result;
}

bool Reporter::IsEnabled() const
{
    return state_->data.enabled;
}

std::string Reporter::GetRcpt() const
{
    return state_->data.rcpt;
}

Reporter::Sender Reporter::GetSender() const
{
    return state_->data.sender;
}

Reporter::Time Reporter::GetReportTime() const
{
    return state_->data.time;
}

Reporter::SMTP Reporter::GetSMTP() const
{
    return state_->data.smtp;
}

int Reporter::SetEnable(bool enabled)
{
    state_->data.enabled = enabled;
    return Thrown(Call("Reporter::SetEnable", enabled));
}

int Reporter::SetRcpt(const std::string& recipient)
{
    state_->data.rcpt = recipient;
    return Thrown(Call("Reporter::SetRcpt", recipient));
}

int Reporter::SetSender(const Sender& sender)
{
    state_->data.sender = sender;
    return Thrown(Call("Reporter::SetSender", sender.name, sender.mail));
}

int Reporter::SetTime(const Time& time)
{
    state_->data.time = time;
    return Thrown(Call("Reporter::SetTime", time.hours, time.mins));
}

int Reporter::SetSMTP(const SMTP& account)
{
    state_->data.smtp = account;
    return Thrown(Call("Reporter::SetSMTP", account.provider, account.server, account.port,
                       account.auth, account.account, account.password, account.secure));
}
