// The lines of one message in the mail server's log. Most of the log is passed over by a search for
// bytes; only lines that have them are split.
#include "tools/log_lines/message_lines.h"

#include <algorithm>
#include <deque>
#include <optional>

#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "tools/log_lines/log_parts.h"
#include "tools/maillog_collector/log_fields.h"
#include "tools/maillog_collector/log_line.h"

namespace log_lines {

namespace {

using collector::LogLine;

constexpr std::size_t kMostIds = 16;

/// The queue id that a line is about; empty when it is about none.
std::string_view IdOf(const LogLine& line)
{
    std::string_view text = line.text;
    (void)collector::SkipPrefix(text, "warning: ");
    const std::string_view id = text.substr(0, text.find(": "));
    return id.size() < text.size() && collector::IsQueueId(id) ? id : std::string_view();
}

/// What follows the queue id.
std::string_view AfterId(const LogLine& line, std::string_view id)
{
    const char* const end = id.data() + id.size() + 2;
    return line.text.substr(static_cast<std::size_t>(end - line.text.data()));
}

/// Whether the message of a line came to the mail server by it: it has no older line.
bool IsFirst(const LogLine& line, std::string_view id)
{
    const std::string_view text = AfterId(line, id);
    return (line.daemon == "smtpd" && text.substr(0, 7) == "client=") ||
           (line.daemon == "pickup" && text.substr(0, 4) == "uid=");
}

bool HasMessageId(const LogLine& line, std::string_view id, const std::string& wanted)
{
    std::string_view text = AfterId(line, id);
    if (line.daemon != "cleanup" || !collector::SkipPrefix(text, "message-id=")) return false;
    if (text.size() >= 2 && text.front() == '<' && text.back() == '>') {
        text = text.substr(1, text.size() - 2);
    }
    return text == wanted;
}

/// Calls `take` with each line of a piece in which `bytes` stand, once.
template <typename Take>
void EachLineWith(std::string_view piece, std::string_view bytes, const Take& take)
{
    std::size_t at = 0;
    while ((at = piece.find(bytes, at)) != std::string_view::npos) {
        const std::size_t before = piece.rfind('\n', at);
        const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
        const std::size_t end = std::min(piece.find('\n', at), piece.size());
        const std::string_view line = piece.substr(begin, end - begin);
        const std::optional<LogLine> parts = collector::ParseLine(line);
        if (parts) take(begin, line, *parts);
        at = end;
    }
}

constexpr std::size_t kLongestShown = 2000;

bool CanBeShown(std::string_view character)
{
    const auto isWithin = [character](std::string_view first, std::string_view last) {
        return character >= first && character <= last;
    };
    return !character.empty() && !host::IsControl(character.front()) &&
           !isWithin("\xc2\x80", "\xc2\x9f") && !isWithin("\xe2\x80\x8e", "\xe2\x80\x8f") &&
           !isWithin("\xe2\x80\xa8", "\xe2\x80\xae") && !isWithin("\xe2\x81\xa6", "\xe2\x81\xa9");
}

class Search {
public:
    Search(std::string path, const Bounds& bounds)
        : path_(std::move(path)), bounds_(bounds), end_(Clock::now() + bounds.patience)
    {
    }

    Found Run(const std::string& id)
    {
        if (collector::IsQueueId(id)) found_.ids.insert(id);
        if (found_.ids.empty() && !FindIds(id)) return found_;
        open_ = found_.ids;
        const Reached reached =
            EachPiece(path_, end_, [this](std::string_view piece) { return TakeLines(piece); });
        found_.whole =
            reached == Reached::kBeginning || (reached == Reached::kWanted && !found_.cut);
        found_.lines.assign(lines_.begin(), lines_.end());
        return found_;
    }

private:
    /// Collects the queue ids of a message id, from the newest piece that has any. The message
    /// comes by one id and may go on by others, all within a moment.
    bool FindIds(const std::string& messageId)
    {
        const auto note = [&](std::size_t, std::string_view, const LogLine& line) {
            const std::string_view id = IdOf(line);
            const bool isIts = !id.empty() && HasMessageId(line, id, messageId);
            if (isIts && found_.ids.size() < kMostIds) found_.ids.emplace(id);
        };
        const Reached reached = EachPiece(path_, end_, [&](std::string_view piece) {
            NoteReach(piece);
            EachLineWith(piece, messageId, note);
            return found_.ids.empty();
        });
        found_.whole = reached == Reached::kBeginning;
        return !found_.ids.empty();
    }

    /// Takes the lines of a piece. False when none can be in older ones, or enough were found.
    bool TakeLines(std::string_view piece)
    {
        NoteReach(piece);
        std::vector<std::pair<std::size_t, std::string_view>> lines;
        for (const std::string& wanted : found_.ids) {
            const auto note = [&](std::size_t at, std::string_view text, const LogLine& line) {
                const std::string_view id = IdOf(line);
                if (id != wanted) return;
                lines.emplace_back(at, text);
                // Short ids are used again for other messages.
                if (IsFirst(line, id) && !collector::IsShortId(id)) open_.erase(wanted);
            };
            EachLineWith(piece, wanted, note);
        }
        std::sort(lines.begin(), lines.end());
        for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
            found_.cut = lines_.size() == bounds_.lines;
            if (found_.cut) return false;
            lines_.emplace_front(line->second);
        }
        return !open_.empty();
    }

    /// The stamp of the first line of a piece.
    void NoteReach(std::string_view piece)
    {
        while (!piece.empty()) {
            const std::string_view line = collector::TakeUntil(piece, '\n');
            if (const auto parts = collector::ParseLine(line)) {
                found_.since = parts->stamp;
                return;
            }
        }
    }

    const std::string path_;
    const Bounds bounds_;
    const Clock::time_point end_;
    Found found_;
    std::set<std::string> open_;  ///< ids of which older lines may be found
    std::deque<std::string> lines_;
};

}  // namespace

std::string Shown(std::string_view line)
{
    std::string shown;
    while (!line.empty() && shown.size() < kLongestShown) {
        const std::string_view character = line.substr(0, host::CharacterLength(line));
        shown += CanBeShown(character) ? character : "?";
        line.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return shown;
}

Found FindLines(const std::string& path, const std::string& id, const Bounds& bounds)
{
    const bool isOne = !id.empty() && std::none_of(id.begin(), id.end(), host::IsControl);
    return isOne ? Search(path, bounds).Run(id) : Found();
}

}  // namespace log_lines
