// The mail that waits to be delivered, with what its files say.
#include "upkeep/queue/queued_mail.h"

#include <fcntl.h>

#include <algorithm>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostShown = 50;  // recipients of a message on a page

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

bool ComesBefore(const QueuedMail& one, const QueuedMail& other, QueueOrder order)
{
    if (order == QueueOrder::kSize) return one.envelope.size < other.envelope.size;
    if (order == QueueOrder::kSender) return one.envelope.sender < other.envelope.sender;
    return one.envelope.arrival < other.envelope.arrival;
}

template <typename Element>
std::vector<Element> PageOf(const std::vector<Element>& all, const QueueQuery& query)
{
    const std::size_t first = std::min(query.start, all.size());
    const std::size_t count = std::min(query.count, all.size() - first);
    const auto begin = all.begin() + static_cast<std::ptrdiff_t>(first);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

QueuePage PageByArrival(const std::string& spool, std::vector<QueueName> names,
                        const QueueQuery& query)
{
    if (query.descending) std::reverse(names.begin(), names.end());
    QueuePage page;
    page.total = names.size();
    for (const QueueName& name : PageOf(names, query)) {
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
    const std::string path = FileOf(spool, name);
    const host::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
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
    if (query.text.empty() && query.order == QueueOrder::kArrival) {
        return PageByArrival(spool, std::move(*names), query);
    }

    const std::string wanted = host::InLowerCase(query.text);
    std::vector<QueuedMail> found;
    for (const QueueName& name : *names) {
        if (Clock::now() > end) {
            return host::Reason{host::ReasonCode::kOutOfTime, "mail queue",
                                "too much mail waits to be searched"};
        }
        auto mail = ReadQueuedMail(spool, name, kMostShown);
        if (mail && Matches(*mail, wanted)) found.push_back(std::move(*mail));
    }
    std::stable_sort(found.begin(), found.end(), [&](const auto& one, const auto& other) {
        return query.descending ? ComesBefore(other, one, query.order)
                                : ComesBefore(one, other, query.order);
    });
    return QueuePage{PageOf(found, query), found.size()};
}

}  // namespace upkeep
