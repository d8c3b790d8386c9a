// The stored personal settings of one user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::stores {

/// Text of an automatic reply, in UTF-8: a subject of one line, a message with "\n" line ends.
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
    std::int64_t replyBegin = 0;  ///< first second of the period; 0 or less for no start
    std::int64_t replyEnd = 0;    ///< last second of the period; 0 or less for no end
    Reply generalReply;
    std::vector<SenderReply> senderReplies;  ///< in the order they were made
};

/// A reply in storable form: line ends in the subject and control characters become blanks. Fails
/// when a text is not UTF-8 or is longer than 500 bytes (subject) or 16 KiB (message).
Result<Reply> StorableReply(const std::string& subject, const std::string& message);

/// The reply to a sender, compared without case; null when there is none.
SenderReply* FindSenderReply(PersonalSettings& settings, const std::string& sender);

/// Reads the settings of an account; defaults when none are stored.
Result<PersonalSettings> ReadPersonalSettings(const system::MailAccount& account);

/// Reads the settings from the text of a stored file of any user.
Result<PersonalSettings> ParsePersonalSettings(const std::string& text);

/// The text of the stored file of an account with these settings.
std::string PersonalText(const system::MailAccount& account, const PersonalSettings& settings);

/// Stores the settings.
Result<void> WritePersonalSettings(const system::MailAccount& account,
                                   const PersonalSettings& settings);

}  // namespace host::stores
