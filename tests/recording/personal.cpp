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

// NOLINTBEGIN(bugprone-macro-parentheses): pieces of a definition.
#define MEMBER(type, operation, member) \
    type operation                      \
    {                                   \
        return state_->data.member;     \
    }
#define SETTER(operation, type)               \
    void Personal::operation(type value)      \
    {                                         \
        Call("Personal::" #operation, value); \
    }
#define REPORT_SETTER(operation, type, member, ...)                \
    int Reporter::operation(type value)                            \
    {                                                              \
        state_->data.member = value;                               \
        return Thrown(Call("Reporter::" #operation, __VA_ARGS__)); \
    }
// NOLINTEND(bugprone-macro-parentheses)

Personal::Personal(const std::string& user) : state_(new State{user, TheWorld().personal[user]})
{
    Call("Personal::Personal", user);
}

Personal::~Personal()
{
    delete state_;
}

MEMBER(bool, Personal::isValid(), valid);
MEMBER(std::string, Personal::getErrKey(), errKey);
MEMBER(bool, Personal::isEnabledForward(), forward);
MEMBER(std::string, Personal::getForwardAddr(), forwardAddr);
MEMBER(bool, Personal::isKeepCopy(), keepCopy);
MEMBER(bool, Personal::isEnabledReply(), reply);
MEMBER(long, Personal::GetReplyBeginTime() const, replyBegin);
MEMBER(long, Personal::GetReplyEndTime() const, replyEnd);
SETTER(setForward, bool);
SETTER(setForwardAddr, const std::string&);
SETTER(setKeepCopy, bool);
SETTER(setReply, bool);
SETTER(SetReplyBeginTime, long);
SETTER(SetReplyEndTime, long);

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

DONE(Personal::WriteReplyContent,
     (const char* sender, const std::string& subject, const std::string& message),
     (sender, subject, message),
     (sender == nullptr ? state_->Stored().generalReply
                        : state_->Stored().senderReplies[sender]) = ReplyText(subject, message));

std::list<std::string> Personal::GetReplyList()
{
    Call("Personal::GetReplyList");
    std::list<std::string> senders;
    for (const auto& reply : state_->Stored().senderReplies) senders.push_back(reply.first);
    return senders;
}

DONE(Personal::RemoveReplySetting, (const std::string& sender), (sender),
     state_->Stored().senderReplies.erase(sender));
NOTED(Personal::save, (), ());

struct SMTP::State {
    std::string accountType;
};

SMTP::SMTP() : state_(new State) {}

SMTP::~SMTP()
{
    delete state_;
}

DONE(SMTP::load, (), (),
     state_->accountType = TheWorld().postfix.ToJson()["account_type"].asString());

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

MEMBER(bool, Reporter::IsEnabled() const, enabled);
MEMBER(std::string, Reporter::GetRcpt() const, rcpt);
MEMBER(Reporter::Sender, Reporter::GetSender() const, sender);
MEMBER(Reporter::Time, Reporter::GetReportTime() const, time);
MEMBER(Reporter::SMTP, Reporter::GetSMTP() const, smtp);
REPORT_SETTER(SetEnable, bool, enabled, value);
REPORT_SETTER(SetRcpt, const std::string&, rcpt, value);
REPORT_SETTER(SetSender, const Sender&, sender, value.name, value.mail);
REPORT_SETTER(SetTime, const Time&, time, value.hours, value.mins);
REPORT_SETTER(SetSMTP, const SMTP&, smtp, value.provider, value.server, value.port, value.auth,
              value.account, value.password, value.secure);
