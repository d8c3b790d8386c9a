// A message's file in the mail server's queue. Its envelope stands before the message, and what was
// taken from the message's own header behind it.
#include "upkeep/queue/queue_file.h"

#include <charconv>

#include "upkeep/queue/queue_records.h"

namespace upkeep {

namespace {

using Kind = QueueRecords::Kind;

/// The number of a column; 0 when there is none.
std::uint64_t NumberAt(std::string_view text, unsigned column)
{
    for (;; --column) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        if (column == 0) break;
        text.remove_prefix(std::min(text.find(' '), text.size()));
    }
    std::uint64_t number = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void Take(const QueueRecords::Record& record, std::size_t most, Envelope& envelope)
{
    switch (record.kind) {
        case Kind::kSize:
            envelope.size = NumberAt(record.text, 0);
            envelope.content = NumberAt(record.text, 1);
            break;
        case Kind::kTime:
            envelope.arrival = static_cast<std::int64_t>(NumberAt(record.text, 0));
            break;
        case Kind::kSender:
            envelope.sender = record.text;
            break;
        case Kind::kRecipient:
            ++envelope.waiting;
            if (envelope.recipients.size() < most) envelope.recipients.push_back(record.text);
            break;
        default:
            break;
    }
}

}  // namespace

std::optional<Envelope> ReadEnvelope(int file, std::size_t most)
{
    Envelope envelope;
    QueueRecords records(file);
    while (const auto record = records.Next()) {
        if (record->kind == Kind::kEnd) return envelope;
        Take(*record, most, envelope);
        if (record->kind == Kind::kMessage) {
            if (envelope.content == 0) return std::nullopt;  // not complete yet
            records.GoTo(static_cast<off_t>(envelope.content + envelope.size));
        }
    }
    return std::nullopt;
}

}  // namespace upkeep
