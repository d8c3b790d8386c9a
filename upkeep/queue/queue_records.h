// The records that a file of the mail server's queue is made of.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace upkeep {

/// Reads records one after the other: a byte that says what it is, the length in groups of seven
/// bits, the least first, and the bytes. Records that lead elsewhere in the file are followed.
class QueueRecords {
public:
    enum class Kind : char {
        kSize = 'C',       ///< sizes and counts, in columns
        kTime = 'T',       ///< when it arrived, in seconds
        kSender = 'S',     ///< of the envelope
        kRecipient = 'R',  ///< who has not got it yet
        kMessage = 'M',    ///< the message follows
        kLine = 'N',       ///< a line of the message, or the end of one
        kPiece = 'L',      ///< of a longer line
        kPadding = 'w',    ///< room for changes of the message
        kExtracted = 'X',  ///< what stands behind the message
        kPointer = 'p',    ///< where the next record is
        kEnd = 'E'
    };

    struct Record {
        Kind kind = Kind::kEnd;
        std::string text;
    };

    /// The file stays the caller's.
    explicit QueueRecords(int file) : file_(file) {}

    /// The next record; nothing at the end of the file, for a record that is cut short or longer
    /// than any is, and after so many that it cannot be the work of the mail server.
    std::optional<Record> Next();

    /// Where the next record begins.
    off_t at() const { return at_; }

    /// Goes on at this place.
    void GoTo(off_t place) { at_ = place; }

private:
    std::optional<Record> ReadOne();
    std::optional<unsigned char> Byte(off_t place);
    bool Fill(off_t place);

    int file_;
    off_t at_ = 0;
    std::size_t taken_ = 0;
    std::array<char, 8192> buffer_{};
    off_t bufferAt_ = 0;
    std::size_t held_ = 0;
};

}  // namespace upkeep
