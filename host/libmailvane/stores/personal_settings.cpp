// The stored personal settings: one file per user, etc/personal/NAME.json, mode 0600.
#include "host/libmailvane/stores/personal_settings.h"

#include <json/json.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <stdexcept>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
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

/// The text with blanks for control characters but those in `kept`, and without carriage returns
/// of line ends.
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

/// Throws std::exception for a text that is no JSON.
Json::Value Parse(const std::string& text)
{
    Json::Value json;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors)) {
        throw std::runtime_error("it is not JSON");
    }
    return json;
}

}  // namespace

std::optional<Reply> StorableReply(const std::string& subject, const std::string& message)
{
    const Reply reply{std::string(Trim(WithoutControls(subject, ""))),
                      WithoutControls(message, "\n\t")};
    if (reply.subject.size() > kLongestSubject || reply.message.size() > kLongestMessage ||
        !names::IsPlainText(reply.subject + WithoutControls(reply.message, ""))) {
        return std::nullopt;
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

std::optional<PersonalSettings> ReadPersonalSettings(const system::MailAccount& account)
{
    std::string text;
    if (!ReadFile(FileOf(account), text)) {
        if (errno == ENOENT) return PersonalSettings();
        Log(LOG_ERR, "personal settings of %s: %s", account.name.c_str(), ErrnoText());
        return std::nullopt;
    }

    try {
        const Json::Value stored = Parse(text);
        // When the name has gone to another account since, those of the old one are not its own.
        if (stored["uid"].asUInt64() != account.uid) return PersonalSettings();
        return ToSettings(stored);
    } catch (const std::exception& failure) {
        Log(LOG_ERR, "personal settings of %s: %s", account.name.c_str(), failure.what());
        return std::nullopt;
    }
}

Result<PersonalSettings> ParsePersonalSettings(const std::string& text)
{
    try {
        const Json::Value stored = Parse(text);
        (void)stored["uid"].asUInt64();
        return ToSettings(stored);
    } catch (const std::exception& failure) {
        return Reason{ReasonCode::kDamaged, "personal settings", failure.what()};
    }
}

bool WritePersonalSettings(const system::MailAccount& account, const PersonalSettings& settings)
{
    const std::string text =
        Json::writeString(Json::StreamWriterBuilder(), ToJson(settings, account)) + '\n';
    if (MakeDirectories(PackagePath(kFolder), 0700) && ReplaceFile(FileOf(account), text, 0600)) {
        return true;
    }

    Log(LOG_ERR, "personal settings of %s: %s", account.name.c_str(), ErrnoText());
    return false;
}

}  // namespace host::stores
