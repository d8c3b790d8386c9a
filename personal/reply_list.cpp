// Automatic replies to single senders, always those of the caller: load_reply_list,
// set_reply_setting, delete_reply_setting.
#include <list>
#include <string>

#include "frame/mailvane_handler.h"
#include "platform/mailvane/personal.h"

namespace {

constexpr std::size_t kMostReplies = 64;

/// The outcome when the settings cannot be used; points to `errKey`, which must outlive it.
Outcome Unusable(Personal& personal, std::string& errKey)
{
    errKey = personal.getErrKey();
    return Outcome::Fail("error", errKey.c_str());
}

Outcome ListReplies(const std::string& user, Json::Value& response, std::string& errKey)
{
    Personal personal(user);
    if (!personal.isValid()) return Unusable(personal, errKey);

    Json::Value& replies = response["replies"] = Json::Value(Json::arrayValue);
    for (const std::string& sender : personal.GetReplyList()) {
        std::string subject;
        std::string message;
        // Deliberate: an entry that cannot be read is left out, the others are still of use.
        if (personal.ReadReplyContent(sender.c_str(), subject, message) < 0) continue;

        Json::Value reply;
        reply["sender"] = sender;
        reply["subject"] = subject;
        reply["message"] = message;
        replies.append(reply);
    }
    return Outcome::Success();
}

Outcome StoreReply(const std::string& user, const Json::Value& in, std::string& errKey)
{
    Personal personal(user);
    if (!personal.isValid()) return Unusable(personal, errKey);

    const std::string replaced = in["orgSetting"]["sender"].asString();
    const std::string sender = in["sender"].asString();
    const std::string subject = in["subject"].asString();
    const std::string message = in["message"].asString();
    // Deliberate: an edit removes the old entry first, so that it may change the sender and does
    // not count against the limit; a failure further down does not bring it back.
    if (in.isMember("orgSetting")) (void)personal.RemoveReplySetting(replaced);
    if (personal.GetReplyList().size() >= kMostReplies) {
        return Outcome::Fail("common", "reach_limitation");
    }

    if (personal.WriteReplyContent(sender.c_str(), subject, message) < 0) {
        return Outcome::SystemError();
    }

    return Outcome::Success();
}

Outcome RemoveReplies(const std::string& user, const Json::Value& in, std::string& errKey)
{
    Personal personal(user);
    if (!personal.isValid()) return Unusable(personal, errKey);

    const Json::Value& listed = in["delete_list"];
    std::list<std::string> senders;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) senders.push_back(listed[i].asString());
    for (const std::string& sender : senders) {
        // Deliberate: an entry that is gone already is as good as removed.
        (void)personal.RemoveReplySetting(sender);
    }
    return Outcome::Success();
}

std::string Text(const char* text)
{
    return text == nullptr ? "" : text;
}

}  // namespace

void MailvaneHandler::LoadReplyList()
{
    Json::Value response;
    std::string errKey;
    Answer(response, ListReplies(Text(web_.GetLoginUserName()), response, errKey));
}

void MailvaneHandler::SetReplySetting(Json::Value& in)
{
    Json::Value response;
    std::string errKey;
    Answer(response, StoreReply(Text(web_.GetLoginUserName()), in, errKey));
}

void MailvaneHandler::DeleteReplySetting(Json::Value& in)
{
    Json::Value response;
    std::string errKey;
    Answer(response, RemoveReplies(Text(web_.GetLoginUserName()), in, errKey));
}
