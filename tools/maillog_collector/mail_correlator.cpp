// The correlator: makes messages of log lines.
#include "tools/maillog_collector/mail_correlator.h"

#include <algorithm>
#include <ctime>

#include "tools/maillog_collector/log_fields.h"
#include "tools/maillog_collector/machine_marks.h"
#include "tools/maillog_collector/mail_store.h"

namespace collector {
namespace {

constexpr std::size_t kMostInMemory = 20000;

/// The key of a message. A short id gets the day added, since Postfix uses it again.
std::string KeyOf(std::string_view id, std::int64_t date)
{
    if (!IsShortId(WithoutMark(id))) return std::string(id);

    const auto seconds = static_cast<std::time_t>(date);
    std::tm parts{};
    (void)localtime_r(&seconds, &parts);
    char day[16];
    const std::size_t length = std::strftime(day, sizeof day, "/%Y%m%d", &parts);
    return std::string(id).append(day, length);
}

bool IsUndelivered(const Recipient& entry)
{
    return entry.countsAs == kCountsNowhere;
}

/// Removes the entry that stood for the unknown recipients, when the first recipient is known.
void DropUnknown(Mail& mail)
{
    if (!mail.waiting) return;

    mail.waiting = false;
    mail.nowKnown = mail.hasEntries;
    mail.entries.erase(std::remove_if(mail.entries.begin(), mail.entries.end(),
                                      [](const Recipient& entry) { return entry.to.empty(); }),
                       mail.entries.end());
}

void SetOutcome(Recipient& entry, int status, int countsAs)
{
    entry.status = status;
    entry.countsAs = countsAs;
}

}  // namespace

MailCorrelator::MailPointer MailCorrelator::Find(std::string_view id)
{
    std::string name(id);
    const auto found = mails_.find(name);
    if (found != mails_.end()) return found->second;

    MailPointer mail = store_.Load(name);
    if (!mail) return nullptr;

    // The message may be in memory already under another id.
    for (const std::string& other : store_.IdsOf(mail->key)) {
        const auto known = mails_.find(other);
        if (known != mails_.end() && known->second->key == mail->key) mail = known->second;
    }
    mail->ids.push_back(name);
    mails_.emplace(std::move(name), mail);
    return mail;
}

MailCorrelator::MailPointer MailCorrelator::Begin(std::string_view id, std::int64_t time)
{
    auto mail = std::make_shared<Mail>();
    mail->key = KeyOf(id, time);
    mail->date = time;
    Name(mail, id);
    return mail;
}

/// Assigns a queue id to the message.
void MailCorrelator::Name(const MailPointer& mail, std::string_view id)
{
    mail->ids.emplace_back(id);
    MailPointer& named = mails_[mail->ids.back()];
    if (named) ended_.erase(std::remove(ended_.begin(), ended_.end(), id), ended_.end());
    named = mail;
}

/// The message that an event continues, possibly one that has left the queue.
MailCorrelator::MailPointer MailCorrelator::FindContinued(std::string_view id, std::int64_t time)
{
    MailPointer mail = Find(id);
    if (mail) return mail;

    mail = store_.LoadEnded(KeyOf(id, time));
    return mail ? mail : Begin(id, time);
}

MailCorrelator::MailPointer MailCorrelator::FindOrBegin(std::string_view id, std::int64_t time)
{
    MailPointer mail = Find(id);
    return mail ? mail : Begin(id, time);
}

void MailCorrelator::Touch(const MailPointer& mail)
{
    if (!mail->changed) changed_.push_back(mail);
    mail->changed = true;
}

/// The entry of a recipient, to be changed: from memory or the database, else a new one without
/// outcome.
Recipient& MailCorrelator::EntryOf(Mail& mail, std::string_view to)
{
    std::string address = CleanText(to);
    if (!address.empty()) DropUnknown(mail);
    const auto known =
        std::find_if(mail.entries.rbegin(), mail.entries.rend(),
                     [&address](const Recipient& entry) { return entry.to == address; });
    if (known != mail.entries.rend()) return *known;

    Recipient entry;
    entry.to = std::move(address);
    if (mail.hasEntries) store_.LoadEntry(mail.key, entry);
    mail.entries.push_back(std::move(entry));
    return mail.entries.back();
}

void MailCorrelator::JudgeWithoutId(const Event& event, std::int64_t time,
                                    const std::string& lineName)
{
    auto mail = std::make_shared<Mail>();
    mail->key = lineName;
    mail->date = time;
    mail->from = CleanText(event.from);
    Deliver(*mail, event);
    Touch(mail);
}

/// Merges a message that turned out to be part of another.
void MailCorrelator::Absorb(const MailPointer& whole, const MailPointer& part)
{
    Mail& mail = *whole;
    for (const Recipient& entry : part->entries) {
        if (!entry.to.empty()) EntryOf(mail, entry.to) = entry;
    }
    if (part->hasEntries) {
        mail.absorbed.push_back(part->key);
        if (!part->waiting) DropUnknown(mail);
        mail.hasEntries = true;
    }
    for (const std::string& id : part->ids) {
        const auto found = mails_.find(id);
        if (found == mails_.end() || found->second != part) continue;
        found->second = whole;
        mail.ids.push_back(id);
    }
    if (!mail.queued) {
        mail.from = part->from;
        mail.size = part->size;
        mail.recipients = part->recipients;
        mail.queued = part->queued;
        mail.headChanged = true;
    }
    if (mail.messageId.empty()) mail.messageId = part->messageId;
    part->ids.clear();
    part->entries.clear();
    part->absorbed.clear();
    part->headChanged = false;
}

void MailCorrelator::Join(const Event& event, std::int64_t time)
{
    const MailPointer mail = FindContinued(event.other, time);
    const MailPointer part = Find(event.id);
    mail->requeued = mail->requeued || event.requeued;
    mail->seen = time;
    if (part == nullptr) {
        Name(mail, event.id);
    } else if (part != mail) {
        Absorb(mail, part);
    }
    if (event.requeued) End(mail, event.other);  // it has become this one
    Touch(mail);
}

void MailCorrelator::Describe(Mail& mail, const Event& event)
{
    if (event.kind == EventKind::kMessageId) {
        if (!mail.messageId.empty()) return;
        mail.messageId = CleanId(event.messageId);
    } else {
        if (mail.queued) return;
        mail.from = CleanText(event.from);
        mail.size = event.size;
        mail.recipients = event.recipients;
        mail.queued = true;
        if (mail.entries.empty() && !mail.hasEntries) {
            (void)EntryOf(mail, {});
            mail.waiting = true;
        }
    }
    mail.headChanged = true;
}

void MailCorrelator::Deliver(Mail& mail, const Event& event)
{
    Recipient& entry = EntryOf(mail, event.to);
    switch (event.kind) {
        case EventKind::kSent: {
            const int outcome = event.local ? MAIL_RECEIVE : MAIL_SEND;
            const bool again = mail.requeued || entry.status == MAIL_RESEND;
            SetOutcome(entry, again ? MAIL_RESEND : outcome, outcome);
            break;
        }
        case EventKind::kPassedOn:
            SetOutcome(entry, MAIL_RESEND, MAIL_RECEIVE);
            break;
        case EventKind::kKept:
            SetOutcome(entry, MAIL_RECEIVE, MAIL_RECEIVE);
            break;
        case EventKind::kDeferred:
            SetOutcome(entry, MAIL_RESEND, kCountsNowhere);
            break;
        default:
            SetOutcome(entry, MAIL_BOUNCE, MAIL_BOUNCE);
    }
    if (mail.from.empty() && !mail.queued && !event.from.empty()) {
        mail.from = CleanText(event.from);
        mail.headChanged = true;
    }
}

/// Sets one outcome for all recipients without delivery.
void MailCorrelator::SettleWaiting(Mail& mail, int status, int countsAs)
{
    if (mail.hasEntries) {
        for (const Recipient& entry : store_.UndeliveredOf(mail.key)) {
            if (mail.waiting || !entry.to.empty()) (void)EntryOf(mail, entry.to);
        }
    }
    for (Recipient& entry : mail.entries) {
        if (IsUndelivered(entry)) SetOutcome(entry, status, countsAs);
    }
}

/// The message has left the queue. Who still waits in one that was put into the queue again has
/// been passed on: aliases were looked up anew, and gave others.
void MailCorrelator::Remove(const MailPointer& mail, std::string_view id)
{
    if (mail->requeued && !mail->waiting) SettleWaiting(*mail, MAIL_RESEND, MAIL_RECEIVE);
    End(mail, id);
}

void MailCorrelator::End(const MailPointer& mail, std::string_view id)
{
    const std::string name(id);
    const auto gone = std::remove(mail->ids.begin(), mail->ids.end(), name);
    if (gone != mail->ids.end()) ended_.push_back(name);
    mail->ids.erase(gone, mail->ids.end());
}

void MailCorrelator::Apply(const Event& event, std::int64_t time, const std::string& lineName)
{
    if (event.id.empty()) {
        JudgeWithoutId(event, time, lineName);
        return;
    }
    if (event.kind == EventKind::kJoined) {
        Join(event, time);
        return;
    }
    const bool fresh = event.kind == EventKind::kAccepted;
    const bool ends = event.kind == EventKind::kRemoved || event.kind == EventKind::kDeleted;
    const MailPointer mail = fresh  ? Begin(event.id, time)
                             : ends ? Find(event.id)
                                    : FindOrBegin(event.id, time);
    if (!mail) return;

    mail->seen = time;
    Touch(mail);
    switch (event.kind) {
        case EventKind::kAccepted:
            break;
        case EventKind::kMessageId:
        case EventKind::kQueued:
            Describe(*mail, event);
            break;
        case EventKind::kExpired:
            SettleWaiting(*mail, MAIL_BOUNCE, MAIL_BOUNCE);
            break;
        case EventKind::kDeleted:
            SettleWaiting(*mail, MAIL_BOUNCE, MAIL_BOUNCE);
            End(mail, event.id);
            break;
        case EventKind::kRemoved:
            Remove(mail, event.id);
            break;
        case EventKind::kProbed:
            DropUnknown(*mail);
            break;
        case EventKind::kScanned:
            break;
        default:
            Deliver(*mail, event);
    }
    // The other id is known from earlier lines, unless that message has left the queue.
    if (event.other.empty() || !Find(event.other)) return;
    Event join;
    join.id = event.other;
    join.other = event.id;
    Join(join, time);
}

void MailCorrelator::Stored()
{
    for (const MailPointer& mail : changed_) {
        mail->hasEntries = mail->hasEntries || !mail->entries.empty();
        mail->changed = false;
        mail->headChanged = false;
        mail->nowKnown = false;
        mail->entries.clear();
        mail->absorbed.clear();
    }
    for (const std::string& id : ended_) mails_.erase(id);
    changed_.clear();
    ended_.clear();
    if (mails_.size() > kMostInMemory) mails_.clear();
}

}  // namespace collector
