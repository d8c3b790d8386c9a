// A message's file in the mail server's queue. Its envelope stands before the message, and what was
// taken from the message's own header behind it.
#include "upkeep/queue/queue_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "upkeep/queue/queue_records.h"

namespace upkeep {

namespace {

using Kind = QueueRecords::Kind;

constexpr std::size_t kLongestLine = std::size_t{64} << 10;

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

/// Completes the envelope of a message that no part of the mail server has taken up yet: it stands
/// as the program that sends mail wrote it, with no sizes.
Envelope WithoutSizes(int file, off_t content, Envelope envelope)
{
    struct stat status;
    if (fstat(file, &status) == 0) envelope.size = static_cast<std::uint64_t>(status.st_size);
    envelope.content = static_cast<std::uint64_t>(content);
    return envelope;
}

}  // namespace

std::optional<Envelope> ReadEnvelope(int file, std::size_t most)
{
    Envelope envelope;
    bool hasSizes = false;
    QueueRecords records(file);
    while (const auto record = records.Next()) {
        if (record->kind == Kind::kEnd) return envelope;
        if (record->kind == Kind::kSize) hasSizes = true;
        Take(*record, most, envelope);
        if (record->kind != Kind::kMessage) continue;
        if (!hasSizes) return WithoutSizes(file, records.at(), std::move(envelope));
        if (envelope.content == 0) return std::nullopt;  // not complete yet
        records.GoTo(static_cast<off_t>(envelope.content + envelope.size));
    }
    return std::nullopt;
}

HeaderBlock ReadHeader(int file, const Envelope& envelope)
{
    HeaderBlock header;
    QueueRecords records(file);
    records.GoTo(static_cast<off_t>(envelope.content));
    std::string line;
    while (const auto record = records.Next()) {
        const bool isLine = record->kind == Kind::kLine;
        if (record->kind == Kind::kPadding) continue;
        if (!isLine && record->kind != Kind::kPiece) break;
        if (line.size() < kLongestLine) line += record->text;
        if (!isLine) continue;
        if (header.Add(line) != HeaderBlock::Line::kTaken || header.cut()) break;
        line.clear();
    }
    return header;
}

}  // namespace upkeep
