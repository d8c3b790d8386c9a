// The mail server's log from its end to its beginning. A plain part is read from behind; a packed
// one can only be unpacked from its beginning.
#include "tools/log_lines/log_parts.h"

#include <algorithm>
#include <iterator>

#include "tools/maillog_collector/log_part.h"

namespace log_lines {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kMostUnpacked = std::size_t{64} << 20;

/// Reads all of a range; shorter where the file has become so.
std::string Range(collector::LogPart& part, std::int64_t offset, std::size_t size)
{
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size) {
        const std::size_t more =
            part.Read(offset + static_cast<std::int64_t>(got), bytes.data() + got, size - got);
        if (more == 0) break;
        got += more;
    }
    bytes.resize(got);
    return bytes;
}

Reached EachPlainPiece(collector::LogPart& part, Clock::time_point end, const TakePiece& take)
{
    std::int64_t at = part.Size();
    std::string rest;  // of a line that begins in an older piece
    while (at > 0) {
        if (Clock::now() >= end) return Reached::kNowhere;
        const auto size =
            static_cast<std::size_t>(std::min<std::int64_t>(at, static_cast<std::int64_t>(kPiece)));
        at -= static_cast<std::int64_t>(size);
        std::string piece = Range(part, at, size) + rest;
        rest.clear();
        if (at > 0) {
            const std::size_t first = std::min(piece.find('\n'), piece.size() - 1) + 1;
            rest = piece.substr(0, first);
            // A line without an end in so much text is none of the mail server's.
            if (rest.size() > kPiece) rest.clear();
            piece.erase(0, first);
        }
        if (!take(piece)) return Reached::kWanted;
    }
    return Reached::kBeginning;
}

enum class Unpacked { kWhole, kEnd, kNothing };

/// Unpacks a part, or the end of one that is too large; nothing when the time is over.
Unpacked Unpack(collector::LogPart& part, Clock::time_point end, std::string& text)
{
    bool whole = true;
    for (std::int64_t at = 0;;) {
        if (Clock::now() >= end) return Unpacked::kNothing;
        const std::string piece = Range(part, at, kPiece);
        at += static_cast<std::int64_t>(piece.size());
        text += piece;
        if (piece.size() < kPiece) return whole ? Unpacked::kWhole : Unpacked::kEnd;
        if (text.size() <= kMostUnpacked) continue;
        text.erase(0, text.find('\n', kMostUnpacked / 2) + 1);
        whole = false;
    }
}

Reached EachPieceOf(const std::string& path, Clock::time_point end, const TakePiece& take)
{
    collector::LogPart part(path);
    if (!part) return Reached::kBeginning;
    if (!part.IsPacked()) return EachPlainPiece(part, end, take);

    std::string text;
    const Unpacked unpacked = Unpack(part, end, text);
    if (unpacked == Unpacked::kNothing) return Reached::kNowhere;
    if (!take(text)) return Reached::kWanted;
    return unpacked == Unpacked::kWhole ? Reached::kBeginning : Reached::kNowhere;
}

}  // namespace

Reached EachPiece(const std::string& path, Clock::time_point end, const TakePiece& take)
{
    std::vector<std::string> paths;
    for (const collector::LogFile& part : collector::OlderParts(path)) paths.push_back(part.path);
    paths.push_back(path);
    for (auto one = paths.rbegin(); one != paths.rend(); ++one) {
        const Reached reached = EachPieceOf(*one, end, take);
        if (reached != Reached::kBeginning) return reached;
    }
    return Reached::kBeginning;
}

}  // namespace log_lines
