// Personal settings of one user: stored by the package, executed by a script in the user's home.
#include "platform/mailvane/personal.h"

#include <strings.h>

#include <algorithm>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/result.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/forwarding.h"
#include "host/libmailvane/save/personal_change.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/personal_settings.h"

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using host::stores::PersonalSettings;
using host::stores::Reply;
using host::stores::SenderReply;
using host::system::MailAccount;

struct Personal::State {
    MailAccount account;
    std::string errKey;  ///< why there are no settings; empty when there are
    PersonalSettings settings;
    bool refused = false;  ///< the general reply was; nothing is saved then
};

namespace {

/// The message key that tells why there is no account with personal settings.
std::string ErrKeyOf(const Reason& reason)
{
    switch (reason.code) {
        case ReasonCode::kMissing:
            return "no_such_user";
        case ReasonCode::kUnreadable:
            return "no_user_home";
        default:
            return "accounts_unavailable";
    }
}

/// Whether the forwarding is valid; when off it needs no address.
Result<void> CheckForwarding(const PersonalSettings& settings, const std::string& user)
{
    auto stored = Result<host::settings::StoredSettings>(host::settings::StoredSettings());
    if (settings.forward) stored = host::settings::StoredSettings::Read();
    if (!stored) return std::move(stored).reason();
    return host::pages::CheckForwarding(settings, user, *stored);
}

/// Stores a change, which gets the settings as they are stored now. Gives what is stored then.
template <typename Change>
Result<PersonalSettings> ChangeStored(const MailAccount& account, bool anew, const Change& change)
{
    const host::save::WriteScope scope;
    if (!scope.ready()) return scope.ready().reason();
    auto stored = host::stores::ReadPersonalSettings(account);
    if (!stored) return stored;

    PersonalSettings changed = *stored;
    Result<void> done =
        Result<void>(change(changed)).Prefixed("personal settings of " + account.name + ": ");
    if (done) done = host::save::StoreAndApplyPersonal(account, *stored, changed, anew);
    if (!done) return std::move(done).reason().About(Subject::List("personal"));
    return changed;
}

/// Adds or replaces the reply to one sender.
Result<void> PutSenderReply(PersonalSettings& settings, const std::string& sender,
                            const Reply& reply)
{
    if (!host::names::IsFullAddress(sender)) {
        return Reason{ReasonCode::kNoAddress, Subject::Setting("sender"),
                      "a reply needs the address of a sender"};
    }
    if (SenderReply* entry = host::stores::FindSenderReply(settings, sender)) {
        *entry = {sender, reply};
        return {};
    }
    if (settings.senderReplies.size() >= host::stores::kMostSenderReplies) {
        return Reason{ReasonCode::kTooMany, Subject::Setting("sender"),
                      "there are replies to too many senders"};
    }
    settings.senderReplies.push_back({sender, reply});
    return {};
}

Result<void> RemoveSenderReply(PersonalSettings& settings, const std::string& sender)
{
    const SenderReply* entry = host::stores::FindSenderReply(settings, sender);
    if (entry == nullptr) {
        return Reason{ReasonCode::kMissing, Subject::Setting("sender"),
                      "there is no reply to that sender"};
    }
    settings.senderReplies.erase(settings.senderReplies.begin() +
                                 (entry - settings.senderReplies.data()));
    return {};
}

}  // namespace

Personal::Personal(const std::string& user) : state_(new State)
{
    auto account = host::system::FindMailAccount(user);
    if (!host::Succeeded(account)) {
        state_->errKey = ErrKeyOf(account.reason());
        return;
    }
    state_->account = std::move(*account);

    auto stored = host::stores::ReadPersonalSettings(state_->account);
    if (host::Succeeded(stored)) {
        state_->settings = std::move(*stored);
    } else {
        state_->errKey = "settings_unreadable";
    }
}

Personal::~Personal()
{
    delete state_;
}

bool Personal::isValid()
{
    return state_->errKey.empty();
}

std::string Personal::getErrKey()
{
    return state_->errKey;
}

bool Personal::isEnabledForward()
{
    return state_->settings.forward;
}

std::string Personal::getForwardAddr()
{
    return state_->settings.forwardAddress;
}

bool Personal::isKeepCopy()
{
    return state_->settings.keepCopy;
}

bool Personal::isEnabledReply()
{
    return state_->settings.reply;
}

long Personal::GetReplyBeginTime() const
{
    return static_cast<long>(state_->settings.replyBegin);
}

long Personal::GetReplyEndTime() const
{
    return static_cast<long>(state_->settings.replyEnd);
}

void Personal::setForward(bool enabled)
{
    state_->settings.forward = enabled;
}

void Personal::setForwardAddr(const std::string& address)
{
    state_->settings.forwardAddress = host::names::WithALabels(address);
}

void Personal::setKeepCopy(bool keep)
{
    state_->settings.keepCopy = keep;
}

void Personal::setReply(bool enabled)
{
    state_->settings.reply = enabled;
}

void Personal::SetReplyBeginTime(long seconds)
{
    state_->settings.replyBegin = seconds;
}

void Personal::SetReplyEndTime(long seconds)
{
    state_->settings.replyEnd = seconds;
}

int Personal::ReadReplyContent(const char* sender, std::string& subject, std::string& message)
{
    const Reply* reply = &state_->settings.generalReply;
    if (sender != nullptr) {
        const std::string stored = host::names::WithALabels(sender);
        const SenderReply* entry = host::stores::FindSenderReply(state_->settings, stored);
        reply = entry == nullptr ? nullptr : &entry->reply;
    }
    if (!isValid() || reply == nullptr) return -1;

    subject = reply->subject;
    message = reply->message;
    return 0;
}

int Personal::WriteReplyContent(const char* sender, const std::string& subject,
                                const std::string& message)
{
    // Nobody looks at what becomes of the general reply: the save has to tell.
    if (sender == nullptr) state_->refused = true;
    const auto reply = host::stores::StorableReply(subject, message);
    if (!isValid() || !host::Succeeded(reply)) return -1;

    const auto stored =
        ChangeStored(state_->account, false, [&](PersonalSettings& settings) -> Result<void> {
            if (sender != nullptr) {
                return PutSenderReply(settings, host::names::WithALabels(sender), *reply);
            }
            settings.generalReply = *reply;
            return {};
        });
    if (!host::Succeeded(stored)) return -1;

    // Takes only the replies from the store: other settings may be set and not saved yet.
    state_->settings.generalReply = stored->generalReply;
    state_->settings.senderReplies = stored->senderReplies;
    if (sender == nullptr) state_->refused = false;
    return 0;
}

std::list<std::string> Personal::GetReplyList()
{
    std::list<std::string> senders;
    for (const SenderReply& entry : state_->settings.senderReplies) senders.push_back(entry.sender);
    return senders;
}

int Personal::RemoveReplySetting(const std::string& sender)
{
    if (!isValid()) return -1;
    const auto stored = ChangeStored(state_->account, false, [&](PersonalSettings& settings) {
        return RemoveSenderReply(settings, host::names::WithALabels(sender));
    });
    // Nobody looks at the result; one that was gone already is as it was wanted.
    if (!stored && stored.reason().code != ReasonCode::kMissing) {
        host::NoteFailure(stored.reason().text);
    }
    if (!host::Succeeded(stored)) return -1;

    state_->settings.senderReplies = stored->senderReplies;
    return 0;
}

int Personal::save()
{
    if (!isValid() || state_->refused) return -1;
    const auto stored = ChangeStored(state_->account, true, [&](PersonalSettings& settings) {
        PersonalSettings wanted = state_->settings;
        wanted.generalReply = settings.generalReply;
        wanted.senderReplies = settings.senderReplies;
        settings = wanted;
        return CheckForwarding(settings, state_->account.name);
    });
    if (!host::Succeeded(stored)) return -1;

    state_->settings = *stored;
    return 0;
}
