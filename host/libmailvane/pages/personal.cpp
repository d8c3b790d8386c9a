// Personal settings of one user: stored by the package, carried out by a script in the user's home.
#include "platform/mailvane/personal.h"

#include <strings.h>

#include <algorithm>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/forwarding.h"
#include "host/libmailvane/render/personal_script.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/personal_settings.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/user_script.h"

using host::stores::PersonalSettings;
using host::stores::Reply;
using host::stores::SenderReply;
using host::system::MailAccount;

struct Personal::State {
    MailAccount account;
    std::string errKey;  ///< empty when the settings can be used
    PersonalSettings settings;
};

namespace {

/// Whether the forwarding can be carried out; logged when not.
bool ForwardingIsSound(const PersonalSettings& settings, const std::string& user)
{
    auto stored = host::settings::StoredSettings::Read();
    if (!host::Succeeded(stored)) stored = host::settings::StoredSettings();
    return host::Succeeded(host::pages::CheckForwarding(settings, user, *stored)
                               .Prefixed("personal settings of " + user + ": "));
}

/// Puts the changed settings in force and stores them, both or neither. `anew`: the script is
/// written even when it says the same as before.
int ActivateScript(const MailAccount& account, const PersonalSettings& before,
                   const PersonalSettings& after, bool anew)
{
    const std::string old = host::render::RenderPersonalScript(before);
    const std::string script = host::render::RenderPersonalScript(after);
    const bool replaced = anew || script != old;
    if (replaced && !host::system::PutUserScript(account, script)) return -1;
    if (host::stores::WritePersonalSettings(account, after)) return 0;

    if (replaced) (void)host::system::PutUserScript(account, old);
    return -1;
}

/// Stores a change: `change` gets the settings as they are stored now and returns whether it could
/// be made. `settings` are replaced by what is stored then.
template <typename Change>
int Store(const MailAccount& account, const std::string& errKey, PersonalSettings& settings,
          bool anew, const Change& change)
{
    if (!errKey.empty()) return -1;

    return host::system::WithoutExceptions("personal settings", [&] {
        const host::save::WriteScope scope;
        if (!host::Succeeded(scope.ready())) return -1;
        const auto stored = host::stores::ReadPersonalSettings(account);
        if (!stored) return -1;

        PersonalSettings changed = *stored;
        if (!change(changed)) return -1;
        if (ActivateScript(account, *stored, changed, anew) < 0) return -1;
        settings = changed;
        return 0;
    });
}

/// Adds or overwrites the reply to one sender.
bool PutSenderReply(PersonalSettings& settings, const std::string& sender, const Reply& reply)
{
    if (!host::names::IsFullAddress(sender)) return false;
    if (SenderReply* entry = host::stores::FindSenderReply(settings, sender)) {
        *entry = {sender, reply};
        return true;
    }
    if (settings.senderReplies.size() >= host::stores::kMostSenderReplies) return false;
    settings.senderReplies.push_back({sender, reply});
    return true;
}

}  // namespace

Personal::Personal(const std::string& user) : state_(new State)
{
    state_->errKey = host::system::FindMailAccount(user, state_->account);
    if (!state_->errKey.empty()) return;

    if (auto stored = host::stores::ReadPersonalSettings(state_->account)) {
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
    state_->settings.forwardAddress = address;
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
        const SenderReply* entry = host::stores::FindSenderReply(state_->settings, sender);
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
    const auto reply = host::stores::StorableReply(subject, message);
    if (!reply) return -1;

    PersonalSettings stored;
    const int result =
        Store(state_->account, state_->errKey, stored, false, [&](PersonalSettings& settings) {
            if (sender != nullptr) return PutSenderReply(settings, sender, *reply);
            settings.generalReply = *reply;
            return true;
        });
    if (result < 0) return result;

    // What the setters were given stays.
    state_->settings.generalReply = stored.generalReply;
    state_->settings.senderReplies = stored.senderReplies;
    return result;
}

std::list<std::string> Personal::GetReplyList()
{
    std::list<std::string> senders;
    for (const SenderReply& entry : state_->settings.senderReplies) senders.push_back(entry.sender);
    return senders;
}

int Personal::RemoveReplySetting(const std::string& sender)
{
    PersonalSettings stored;
    const int result =
        Store(state_->account, state_->errKey, stored, false, [&](PersonalSettings& settings) {
            const SenderReply* entry = host::stores::FindSenderReply(settings, sender);
            if (entry == nullptr) return false;
            settings.senderReplies.erase(settings.senderReplies.begin() +
                                         (entry - settings.senderReplies.data()));
            return true;
        });
    if (result == 0) state_->settings.senderReplies = stored.senderReplies;
    return result;
}

int Personal::save()
{
    PersonalSettings& settings = state_->settings;
    return Store(state_->account, state_->errKey, settings, true, [&](PersonalSettings& stored) {
        PersonalSettings wanted = settings;
        wanted.generalReply = stored.generalReply;
        wanted.senderReplies = stored.senderReplies;
        if (!ForwardingIsSound(wanted, state_->account.name)) return false;
        stored = wanted;
        return true;
    });
}
