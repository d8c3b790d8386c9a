// Personal settings, of which changes are noted but for the texts of replies; the account type; the
// report, kept in memory.
#include "platform/mailvane/personal.h"

#include <stdexcept>

#include "platform/mailvane/reporter.h"
#include "platform/mailvane/smtp.h"
#include "tests/recording/call.h"

using namespace recording;

struct Personal::State {
    std::string user;
    PersonalData data;

    PersonalData& Stored() const { return TheWorld().personal[user]; }
};

Personal::Personal(const std::string& user) : state_(new State{user, TheWorld().personal[user]})
{
    Call("Personal::Personal", user);
}

Personal::~Personal() { delete state_; }

bool Personal::isValid() { return state_->data.valid; }
std::string Personal::getErrKey() { return state_->data.errKey; }
bool Personal::isEnabledForward() { return state_->data.forward; }
std::string Personal::getForwardAddr() { return state_->data.forwardAddr; }
bool Personal::isKeepCopy() { return state_->data.keepCopy; }
bool Personal::isEnabledReply() { return state_->data.reply; }
long Personal::GetReplyBeginTime() const { return state_->data.replyBegin; }
long Personal::GetReplyEndTime() const { return state_->data.replyEnd; }
void Personal::setForward(bool value) { Call("Personal::setForward", value); }
void Personal::setForwardAddr(const std::string& value) { Call("Personal::setForwardAddr", value); }
void Personal::setKeepCopy(bool value) { Call("Personal::setKeepCopy", value); }
void Personal::setReply(bool value) { Call("Personal::setReply", value); }
void Personal::SetReplyBeginTime(long value) { Call("Personal::SetReplyBeginTime", value); }
void Personal::SetReplyEndTime(long value) { Call("Personal::SetReplyEndTime", value); }

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
    PersonalData& stored = state_->Stored();
    if (result < 0) return result;

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
int Personal::save() { return Call("Personal::save"); }

struct SMTP::State {
    std::string accountType;
};

SMTP::SMTP() : state_(new State) {}

SMTP::~SMTP() { delete state_; }

int SMTP::load()
{
    return Fill(state_->accountType, TheWorld().postfix.ToJson()["account_type"].asString(),
                Call("SMTP::load"));
}

std::string SMTP::getAccountType() const { return state_->accountType; }

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

Reporter::~Reporter() { delete state_; }

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

bool Reporter::IsEnabled() const { return state_->data.enabled; }
std::string Reporter::GetRcpt() const { return state_->data.rcpt; }
Reporter::Sender Reporter::GetSender() const { return state_->data.sender; }
Reporter::Time Reporter::GetReportTime() const { return state_->data.time; }
Reporter::SMTP Reporter::GetSMTP() const { return state_->data.smtp; }
int Reporter::SetEnable(bool value)
{
    state_->data.enabled = value;
    return Thrown(Call("Reporter::SetEnable", value));
}
int Reporter::SetRcpt(const std::string& value)
{
    state_->data.rcpt = value;
    return Thrown(Call("Reporter::SetRcpt", value));
}
int Reporter::SetSender(const Sender& value)
{
    state_->data.sender = value;
    return Thrown(Call("Reporter::SetSender", value.name, value.mail));
}
int Reporter::SetTime(const Time& value)
{
    state_->data.time = value;
    return Thrown(Call("Reporter::SetTime", value.hours, value.mins));
}
int Reporter::SetSMTP(const SMTP& value)
{
    state_->data.smtp = value;
    return Thrown(Call("Reporter::SetSMTP", value.provider, value.server, value.port, value.auth,
                       value.account, value.password, value.secure));
}
