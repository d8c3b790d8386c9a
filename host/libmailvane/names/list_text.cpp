// Text files of lists, for import and export.
#include "host/libmailvane/names/list_text.h"

#include <algorithm>
#include <string_view>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr int kMostToldLines = 20;  // so that a wrong file does not flood the log

/// Cuts a text that comes in pieces into lines with any line ends.
class Lines {
public:
    using TakeRaw = std::function<void(std::string_view line)>;

    explicit Lines(TakeRaw take) : take_(std::move(take)) {}

    void Feed(std::string_view piece)
    {
        while (!piece.empty()) {
            const bool endsPair = afterReturn_ && piece.front() == '\n';
            afterReturn_ = false;
            if (endsPair) {
                piece.remove_prefix(1);
                continue;
            }
            const std::size_t end = std::min(piece.find_first_of("\r\n"), piece.size());
            line_.append(piece.substr(0, end));
            if (end == piece.size()) return;

            afterReturn_ = piece[end] == '\r';
            piece.remove_prefix(end + 1);
            End();
        }
    }

    /// Passes the line on that stands there.
    void End()
    {
        take_(line_);
        line_.clear();
    }

private:
    TakeRaw take_;
    std::string line_;
    bool afterReturn_ = false;
};

bool IsLeftOut(const std::string& line)
{
    return line.empty() || line.front() == '#';
}

Result<void> Take(const std::string& line, const TakeLine& take)
{
    if (IsPlainText(line)) return take(line);
    return Reason{ReasonCode::kNotText, "", "holds what is no text in UTF-8"};
}

/// Collects the reasons why lines of a list were refused.
class RefusedLines {
public:
    void Add(int number, Reason reason)
    {
        if (++count_ > kMostToldLines) return;

        reason.about = Subject::Line(number);
        const std::string line = reason.about.text();
        lines_.push_back(std::move(reason).Prefixed("list to import, " + line + ": "));
    }

    Result<void> All() &&
    {
        if (count_ == 0) return {};
        Reason reason{ReasonCode::kRefused, "list to import", "", std::move(lines_)};
        if (count_ > kMostToldLines) {
            reason.text = "list to import: " + std::to_string(count_) + " lines refused";
        }
        return reason;
    }

private:
    int count_ = 0;
    std::vector<Reason> lines_;
};

}  // namespace

Result<void> ReadListText(const std::string& path, const TakeLine& take)
{
    RefusedLines refused;
    int number = 0;
    Lines lines([&](std::string_view text) {
        const bool isMarked =
            ++number == 1 && text.substr(0, kByteOrderMark.size()) == kByteOrderMark;
        if (isMarked) text.remove_prefix(kByteOrderMark.size());
        std::string line(Trim(text));
        if (IsLeftOut(line)) return;

        std::replace(line.begin(), line.end(), '\t', ' ');
        Result<void> taken = Take(line, take);
        if (!taken) refused.Add(number, std::move(taken).reason());
    });
    if (!ReadInPieces(path, [&lines](std::string_view piece) { lines.Feed(piece); })) {
        return SystemReason("list to import", "list to import");
    }
    lines.End();
    return std::move(refused).All();
}

Result<void> WriteExport(const std::string& path, const std::string& text)
{
    if (ReplaceFile(path, text, 0600)) return {};
    return SystemReason(path, "cannot write " + path);
}

std::string LikeAnywhere(const std::string& text)
{
    std::string pattern = "%";
    for (const char c : text) {
        if (c == '%' || c == '_' || c == '\\') pattern += '\\';
        pattern += c;
    }
    return pattern + "%";
}

}  // namespace host::names
