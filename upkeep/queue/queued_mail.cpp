// The mail that waits to be delivered, with what its files say.
#include "upkeep/queue/queued_mail.h"

#include <algorithm>

#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostShown = 50;       // recipients of a message on a page
constexpr std::size_t kMostSearched = 1000;  // of a message that is searched

/// What pages are put in order by, of each message alone.
struct Found {
    QueueName name;
    std::int64_t arrival = 0;
    std::uint64_t size = 0;
    std::string sender;
};

bool Holds(const std::string& text, const std::string& wanted)
{
    return host::InLowerCase(text).find(wanted) != std::string::npos;
}

/// Whether a message has the text, which is in lower case, in its id or its addresses.
bool Matches(const QueuedMail& mail, const std::string& wanted)
{
    const std::vector<std::string>& recipients = mail.envelope.recipients;
    return Holds(mail.name.id, wanted) || Holds(mail.envelope.sender, wanted) ||
           std::any_of(recipients.begin(), recipients.end(),
                       [&](const std::string& one) { return Holds(one, wanted); });
}

bool ComesBefore(const Found& one, const Found& other, QueueOrder order)
{
    if (order == QueueOrder::kSize) return one.size < other.size;
    if (order == QueueOrder::kSender) return one.sender < other.sender;
    return one.arrival < other.arrival;
}

/// The messages that have a text, which is in lower case; nothing when that takes too long.
std::optional<std::vector<Found>> Search(const std::string& spool,
                                         const std::vector<QueueName>& names,
                                         const std::string& wanted, Clock::time_point end)
{
    std::vector<Found> found;
    for (const QueueName& name : names) {
        if (Clock::now() > end) return std::nullopt;
        auto mail = ReadQueuedMail(spool, name, wanted.empty() ? 0 : kMostSearched);
        if (!mail || !Matches(*mail, wanted)) continue;
        Envelope& envelope = mail->envelope;
        found.push_back({name, envelope.arrival, envelope.size, std::move(envelope.sender)});
    }
    return found;
}

/// The names in the order of a query that needs no file to be opened.
bool NeedsNamesAlone(const std::vector<QueueName>& names, const QueueQuery& query)
{
    // Those with short ids, which say nothing, come first.
    const bool allTell = names.empty() || ArrivalOf(names.front().id).has_value();
    return allTell && query.text.empty() && query.order == QueueOrder::kArrival;
}

/// The messages of a page; those that have gone meanwhile are left out.
QueuePage PageOf(const std::string& spool, const std::vector<QueueName>& names,
                 const QueueQuery& query)
{
    QueuePage page;
    page.total = names.size();
    const std::size_t first = std::min(query.start, names.size());
    const std::size_t last = first + std::min(query.count, names.size() - first);
    for (std::size_t i = first; i < last; ++i) {
        const QueueName& name = names[query.descending ? names.size() - 1 - i : i];
        if (auto mail = ReadQueuedMail(spool, name, kMostShown)) {
            page.mail.push_back(std::move(*mail));
        }
    }
    return page;
}

}  // namespace

std::optional<QueuedMail> ReadQueuedMail(const std::string& spool, const QueueName& name,
                                         std::size_t most)
{
    const host::Descriptor file = OpenQueued(spool, name);
    if (!file) return std::nullopt;

    std::optional<Envelope> envelope = ReadEnvelope(file.get(), most);
    if (!envelope) return std::nullopt;
    return QueuedMail{name, std::move(*envelope)};
}

host::Result<QueuePage> ReadQueuePage(const std::string& spool, const QueueQuery& query,
                                      std::chrono::milliseconds patience)
{
    const Clock::time_point end = Clock::now() + patience;
    host::Result<std::vector<QueueName>> names = ReadQueueNames(spool);
    if (!names) return std::move(names).reason();
    if (NeedsNamesAlone(*names, query)) return PageOf(spool, *names, query);

    auto found = Search(spool, *names, host::InLowerCase(query.text), end);
    if (!found) {
        return host::Reason{host::ReasonCode::kTooMany, host::Subject::Setting("query"),
                            "more mail waits than can be looked through"};
    }
    std::stable_sort(found->begin(), found->end(), [&](const Found& one, const Found& other) {
        return ComesBefore(one, other, query.order);
    });
    std::vector<QueueName> ordered;
    ordered.reserve(found->size());
    for (Found& one : *found) ordered.push_back(std::move(one.name));
    return PageOf(spool, ordered, query);
}

}  // namespace upkeep
