// Calls that tell about the mail that waits to be delivered.
#include "upkeep/queue/calls.h"

#include <algorithm>
#include <iterator>

#include "host/libhaldcore/utf8.h"
#include "upkeep/mail_text/reader.h"
#include "upkeep/queue/defer_log.h"
#include "upkeep/queue/queued_mail.h"
#include "upkeep/queue/spool.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Subject;

constexpr std::chrono::seconds kPatience{3};
constexpr std::size_t kUsualCount = 50;
constexpr std::size_t kMostCount = 200;
constexpr std::size_t kMostRecipients = 50;
constexpr std::size_t kLongestQuery = 320;  // bytes: an address
constexpr std::size_t kLongestAddress = 320;
constexpr std::size_t kLongestReason = 1000;

struct Order {
    const char* name;
    QueueOrder order;
};

constexpr Order kOrders[] = {
    {"arrival", QueueOrder::kArrival},
    {"size", QueueOrder::kSize},
    {"sender", QueueOrder::kSender},
};

host::Result<QueueQuery> QueryOf(const Request& request)
{
    QueueQuery query;
    query.text = request.Text("query");
    query.descending = request.IsOn("descending");
    query.start = request.Number("start", 0, SIZE_MAX);
    query.count = request.Number("limit", kUsualCount, kMostCount);
    if (query.text.size() > kLongestQuery) {
        return Reason{ReasonCode::kTooLong, Subject::Setting("query"), "the text is too long"};
    }

    const std::string sort = request.Text("sort");
    const Order* const found =
        std::find_if(std::begin(kOrders), std::end(kOrders),
                     [&](const Order& order) { return sort.empty() || order.name == sort; });
    if (found == std::end(kOrders)) {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("sort"), "there is no such order"};
    }
    query.order = found->order;
    return query;
}

Json::Value RecipientsOf(const std::string& spool, const QueuedMail& mail)
{
    const std::map<std::string, std::string> reasons =
        ReadDeferLog(DeferLogOf(spool, mail.name.id));
    Json::Value recipients(Json::arrayValue);
    for (const std::string& address : mail.envelope.recipients) {
        const auto reason = reasons.find(address);
        Json::Value recipient;
        recipient["address"] = host::ShownText(address, kLongestAddress);
        recipient["reason"] =
            reason == reasons.end() ? "" : host::ShownText(reason->second, kLongestReason);
        recipients.append(std::move(recipient));
    }
    return recipients;
}

Json::Value Described(const std::string& spool, const QueuedMail& mail)
{
    const Envelope& envelope = mail.envelope;
    Json::Value message;
    message["id"] = mail.name.id;
    message["queue"] = NameOf(mail.name.queue);
    message["size"] = Json::UInt64{envelope.size};
    message["arrival"] = Json::Int64{envelope.arrival};
    message["sender"] = host::ShownText(envelope.sender, kLongestAddress);
    message["recipients"] = RecipientsOf(spool, mail);
    message["recipient_count"] = Json::UInt64{envelope.waiting};
    return message;
}

/// The fields of a header, with their encoded words made readable.
host::Result<Json::Value> FieldsOf(const HeaderBlock& header)
{
    std::string message;
    for (const HeaderField& field : header.fields()) {
        message.append(field.name).append(": ").append(field.value).append("\n");
    }
    host::Result<Json::Value> text = ReadText(message);
    return text ? host::Result<Json::Value>((*text)["headers"]) : text;
}

}  // namespace

Answer QueueList(const Request& request)
{
    const host::Result<QueueQuery> query = QueryOf(request);
    if (!query) return query.reason();
    const std::string spool = MailSpool();
    const host::Result<QueuePage> page = ReadQueuePage(spool, *query, kPatience);
    if (!page) return page.reason();

    Json::Value answer(Json::objectValue);
    answer["total"] = Json::UInt64{page->total};
    answer["messages"] = Json::Value(Json::arrayValue);
    for (const QueuedMail& mail : page->mail) answer["messages"].append(Described(spool, mail));
    return answer;
}

Answer QueueMessage(const Request& request)
{
    const std::string id = request.Text("id");
    const std::string spool = MailSpool();
    const auto name = IsQueueId(id) ? FindQueued(spool, id) : std::nullopt;
    const host::Descriptor file = name ? OpenQueued(spool, *name) : host::Descriptor();
    auto envelope = file ? ReadEnvelope(file.get(), kMostRecipients) : std::nullopt;
    if (!envelope) {
        return Reason{ReasonCode::kMissing, Subject::Setting("id"), "no such message waits"};
    }

    const HeaderBlock header = ReadHeader(file.get(), *envelope);
    host::Result<Json::Value> fields = FieldsOf(header);
    if (!fields) return fields.reason();
    Json::Value answer = Described(spool, {*name, std::move(*envelope)});
    answer["headers"] = *std::move(fields);
    answer["cut"] = header.cut();
    return answer;
}

}  // namespace upkeep
