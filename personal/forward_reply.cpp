// Forwarding and automatic reply of one user: load_personal, save_personal, get_account_type.
#include <cstdio>
#include <cstdlib>

#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "platform/mailvane/personal.h"
#include "platform/mailvane/smtp.h"

namespace {

/// Adds one end of the period for automatic replies, as decimal text; nothing when it is open.
void AddBound(Json::Value& response, const char* name, long seconds)
{
    if (seconds > 0) response[name] = std::to_string(seconds);
}

long ReadBound(const Json::Value& text)
{
    return strtol(text.asString().c_str(), nullptr, 10);
}

/// Reads the settings of one user. The outcome points to `errKey`, which must outlive it.
Outcome ReadPersonal(const char* user, Json::Value& response, std::string& errKey)
{
    Personal personal(user);
    if (!personal.isValid()) {
        errKey = personal.getErrKey();
        return Outcome::Fail("error", errKey.c_str());
    }

    const bool replies = personal.isEnabledReply();
    response["forward_enable"] = personal.isEnabledForward();
    response["forward_addr"] = personal.getForwardAddr();
    response["keep_copy"] = personal.isKeepCopy();
    response["reply_enable"] = replies;
    if (!replies) return Outcome::Success();

    std::string subject;
    std::string message;
    if (personal.ReadReplyContent(nullptr, subject, message) < 0) return Outcome::SystemError();

    response["subject"] = subject;
    response["message"] = message;
    AddBound(response, "reply_begin_time", personal.GetReplyBeginTime());
    AddBound(response, "reply_end_time", personal.GetReplyEndTime());
    return Outcome::Success();
}

Outcome StorePersonal(const Json::Value& in)
{
    // Deliberate: whether the settings can be used is not asked here, the save tells.
    Personal personal(in["user"].asString());
    const long begin = ReadBound(in["reply_begin_time"]);
    const long end = ReadBound(in["reply_end_time"]);
    personal.setForward(in["forward_enable"].asBool());
    personal.setForwardAddr(in["forward_addr"].asString());
    personal.setKeepCopy(in["keep_copy"].asBool());
    personal.setReply(in["reply_enable"].asBool());
    // Deliberate: the text is kept whether or not replies are on and the rest can be saved.
    (void)personal.WriteReplyContent(nullptr, in["subject"].asString(), in["message"].asString());
    personal.SetReplyBeginTime(begin);
    personal.SetReplyEndTime(end);
    if (personal.save() < 0) {
        LogError(Here(), "Fail to save personal setting");
        // Deliberate: the client has one message for every save that fails.
        return Outcome::FailAt(Here(), "error", "no_user_home");
    }

    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadPersonal()
{
    Json::Value response;
    std::string errKey;
    Answer(response, ReadPersonal(web_.In("user", ""), response, errKey));
}

void MailvaneHandler::SavePersonal(Json::Value& in)
{
    Json::Value response;
    Answer(response, StorePersonal(in));
}

void MailvaneHandler::GetAccountType()
{
    SMTP smtp;
    // Deliberate: settings that cannot be read leave the type empty; the action never fails.
    (void)smtp.load();

    Json::Value response;
    response["accountType"] = smtp.getAccountType();
    Answer(response, Outcome::Success());
}
