// The records that a file of the mail server's queue is made of.
#include "upkeep/queue/queue_records.h"

#include <unistd.h>

#include <charconv>

namespace upkeep {

namespace {

constexpr std::size_t kLongest = 16384;  // bytes of one record
constexpr std::size_t kMost = 400000;    // records of one envelope: recipients have up to three
constexpr unsigned kLengthBytes = 4;

/// The number that a pointer's text has, behind blanks.
std::optional<off_t> PlaceIn(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos) return std::nullopt;

    off_t place = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + begin, end, place);
    if (error != std::errc() || stop != end || place < 0) return std::nullopt;
    return place;
}

}  // namespace

std::optional<QueueRecords::Record> QueueRecords::Next()
{
    while (taken_++ < kMost) {
        std::optional<Record> record = ReadOne();
        if (!record || record->kind != Kind::kPointer) return record;

        const std::optional<off_t> place = PlaceIn(record->text);
        if (!place) return std::nullopt;
        // Room that was kept for a pointer leads nowhere.
        if (*place > 0) at_ = *place;
    }
    return std::nullopt;
}

std::optional<QueueRecords::Record> QueueRecords::ReadOne()
{
    const std::optional<unsigned char> kind = Byte(at_);
    if (!kind) return std::nullopt;

    off_t place = at_ + 1;
    std::size_t length = 0;
    for (unsigned group = 0;; ++group, ++place) {
        const std::optional<unsigned char> byte = Byte(place);
        if (!byte || group == kLengthBytes) return std::nullopt;
        length |= static_cast<std::size_t>(*byte & 0x7F) << (7 * group);
        if ((*byte & 0x80) == 0) break;
    }
    if (length > kLongest) return std::nullopt;

    Record record{static_cast<Kind>(*kind), {}};
    record.text.reserve(length);
    for (++place; record.text.size() < length; ++place) {
        const std::optional<unsigned char> byte = Byte(place);
        if (!byte) return std::nullopt;
        record.text += static_cast<char>(*byte);
    }
    at_ = place;
    return record;
}

std::optional<unsigned char> QueueRecords::Byte(off_t place)
{
    const bool held = place >= bufferAt_ && place < bufferAt_ + static_cast<off_t>(held_);
    if (!held && !Fill(place)) return std::nullopt;
    return static_cast<unsigned char>(buffer_[static_cast<std::size_t>(place - bufferAt_)]);
}

bool QueueRecords::Fill(off_t place)
{
    const ssize_t count = pread(file_, buffer_.data(), buffer_.size(), place);
    held_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    bufferAt_ = place;
    return held_ > 0;
}

}  // namespace upkeep
