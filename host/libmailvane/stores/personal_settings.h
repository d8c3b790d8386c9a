// The stored personal settings of one user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::stores {

/// Text of an automatic reply: a subject of one line and a message with "\n" line ends, UTF-8.
struct Reply {
    std::string subject;
    std::string message;
};

struct SenderReply {
    std::string sender;  ///< a mail address
    Reply reply;
};

constexpr std::size_t kMostSenderReplies = 64;

struct PersonalSettings {
    bool forward = false;
    std::string forwardAddress;
    bool keepCopy = false;
    bool reply = false;
    std::int64_t replyBegin = 0;  ///< first second of the period; 0 and less for no bound
    std::int64_t replyEnd = 0;    ///< last second of the period; 0 and less for no bound
    Reply generalReply;
    std::vector<SenderReply> senderReplies;  ///< in the order they were made
};

/// A reply as it can be stored: a subject with a line feed becomes one line, control characters
/// become blanks. Nothing for a text that is not UTF-8 or longer than 500 bytes (subject) or 16 KiB
/// (message).
std::optional<Reply> StorableReply(const std::string& subject, const std::string& message);

/// The reply to a sender, whatever the case of its letters; null for none.
SenderReply* FindSenderReply(PersonalSettings& settings, const std::string& sender);

/// Reads the settings of an account; defaults when it has none. Nothing, logged, when they cannot
/// be read.
std::optional<PersonalSettings> ReadPersonalSettings(const system::MailAccount& account);

/// The settings of a stored file's text, whoever's they are. Refused when it is none.
Result<PersonalSettings> ParsePersonalSettings(const std::string& text);

/// Stores the settings; false, logged, on failure.
bool WritePersonalSettings(const system::MailAccount& account, const PersonalSettings& settings);

}  // namespace host::stores
