// The stored personal settings: one file per user, etc/personal/NAME.json, mode 0600.
#include "host/libmailvane/stores/personal_settings.h"

#include <json/json.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <tuple>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::stores {

namespace {

const char kFolder[] = "etc/personal";
constexpr std::string::size_type kLongestSubject = 500;
constexpr std::string::size_type kLongestMessage = 16384;

std::string FileOf(const system::MailAccount& account)
{
    return PackagePath(std::string(kFolder) + '/' + account.name + ".json");
}

std::string Title(const system::MailAccount& account)
{
    return "personal settings of " + account.name;
}

/// The text with control characters replaced by blanks, except those in `kept`; CR LF becomes LF.
std::string WithoutControls(std::string text, const char* kept)
{
    const std::string keep = kept;
    for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
        text.erase(at, 1);
    }
    std::replace_if(
        text.begin(), text.end(),
        [&keep](char c) { return IsControl(c) && keep.find(c) == std::string::npos; }, ' ');
    return text;
}

Json::Value ToJson(const Reply& reply)
{
    Json::Value json;
    json["subject"] = reply.subject;
    json["message"] = reply.message;
    return json;
}

Reply ToReply(const Json::Value& json)
{
    return {json["subject"].asString(), json["message"].asString()};
}

Json::Value ToJson(const PersonalSettings& settings, const system::MailAccount& account)
{
    Json::Value json;
    json["uid"] = Json::UInt64{account.uid};
    json["forward"] = settings.forward;
    json["forward_address"] = settings.forwardAddress;
    json["keep_copy"] = settings.keepCopy;
    json["reply"] = settings.reply;
    json["reply_begin"] = Json::Int64{settings.replyBegin};
    json["reply_end"] = Json::Int64{settings.replyEnd};
    json["general_reply"] = ToJson(settings.generalReply);
    Json::Value& replies = json["sender_replies"] = Json::Value(Json::arrayValue);
    for (const SenderReply& entry : settings.senderReplies) {
        Json::Value reply = ToJson(entry.reply);
        reply["sender"] = entry.sender;
        replies.append(reply);
    }
    return json;
}

PersonalSettings ToSettings(const Json::Value& json)
{
    PersonalSettings settings;
    settings.forward = json["forward"].asBool();
    settings.forwardAddress = json["forward_address"].asString();
    settings.keepCopy = json["keep_copy"].asBool();
    settings.reply = json["reply"].asBool();
    settings.replyBegin = json["reply_begin"].asInt64();
    settings.replyEnd = json["reply_end"].asInt64();
    settings.generalReply = ToReply(json["general_reply"]);
    for (const Json::Value& entry : json["sender_replies"]) {
        settings.senderReplies.push_back({entry["sender"].asString(), ToReply(entry)});
    }
    return settings;
}

/// Settings as stored, and the id of the user they belong to.
struct StoredPersonal {
    std::uint64_t uid;
    PersonalSettings settings;
};

Result<StoredPersonal> Parse(const std::string& text)
{
    Json::Value json;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors)) {
        return Reason{ReasonCode::kDamaged, Subject::List("personal"), "it is not JSON"};
    }
    try {
        const Json::Value& stored = json;
        return StoredPersonal{stored["uid"].asUInt64(), ToSettings(stored)};
    } catch (const Json::Exception& failure) {  // a member of another kind
        return Reason{ReasonCode::kDamaged, Subject::List("personal"), failure.what()};
    }
}

}  // namespace

Result<Reply> StorableReply(const std::string& subject, const std::string& message)
{
    Reply reply{std::string(Trim(WithoutControls(subject, ""))), WithoutControls(message, "\n\t")};
    const auto isText = [](const std::string& text) {
        return names::IsPlainText(WithoutControls(text, ""));
    };
    const std::tuple<bool, BuiltInWord, ReasonCode> faults[] = {
        {reply.subject.size() > kLongestSubject, "subject", ReasonCode::kTooLong},
        {reply.message.size() > kLongestMessage, "message", ReasonCode::kTooLong},
        {!isText(reply.subject), "subject", ReasonCode::kNotText},
        {!isText(reply.message), "message", ReasonCode::kNotText},
    };
    for (const auto& [isFault, member, code] : faults) {
        if (!isFault) continue;
        return Reason{code, Subject::Setting(member), "the reply is too long or no text in UTF-8"};
    }
    return reply;
}

SenderReply* FindSenderReply(PersonalSettings& settings, const std::string& sender)
{
    const auto entry = std::find_if(settings.senderReplies.begin(), settings.senderReplies.end(),
                                    [&](const SenderReply& reply) {
                                        return !strcasecmp(reply.sender.c_str(), sender.c_str());
                                    });
    return entry == settings.senderReplies.end() ? nullptr : &*entry;
}

Result<PersonalSettings> ReadPersonalSettings(const system::MailAccount& account)
{
    std::string text;
    if (!ReadFile(FileOf(account), text)) {
        if (errno == ENOENT) return PersonalSettings();
        return SystemReason(Subject::List("personal"), Title(account));
    }
    auto stored = Parse(text).Prefixed(Title(account) + ": ");
    if (!stored) return std::move(stored).reason();

    // Settings of another user id are ignored: the name was reused for a new account.
    if (stored->uid != account.uid) return PersonalSettings();
    return std::move(stored->settings);
}

Result<PersonalSettings> ParsePersonalSettings(const std::string& text)
{
    auto stored = Parse(text);
    if (!stored) return std::move(stored).reason();
    return std::move(stored->settings);
}

std::string PersonalText(const system::MailAccount& account, const PersonalSettings& settings)
{
    return Json::writeString(Json::StreamWriterBuilder(), ToJson(settings, account)) + '\n';
}

Result<void> WritePersonalSettings(const system::MailAccount& account,
                                   const PersonalSettings& settings)
{
    const std::string text = PersonalText(account, settings);
    if (MakeDirectories(PackagePath(kFolder), 0700) && ReplaceFile(FileOf(account), text, 0600)) {
        return {};
    }
    return SystemReason(Subject::List("personal"), Title(account));
}

}  // namespace host::stores
