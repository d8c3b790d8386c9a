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

/// Removes the first line and its line end from `rest` and returns the line.
std::string_view CutLine(std::string_view& rest)
{
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    const std::string_view line = rest.substr(0, end);
    const bool two = rest.substr(end, 2) == "\r\n";
    rest.remove_prefix(std::min(rest.size(), end + (two ? 2 : 1)));
    return line;
}

bool IsLeftOut(const std::string& line)
{
    return line.empty() || line.front() == '#';
}

Result<void> Take(const std::string& line, const TakeLine& take)
{
    if (IsPlainText(line)) return take(line);
    return Reason{ReasonCode::kRefused, "", "holds what is no text in UTF-8"};
}

/// Collects the reasons why lines of a list were refused.
class RefusedLines {
public:
    void Add(int number, Reason reason)
    {
        if (++count_ > kMostToldLines) return;

        const std::string line = "line " + std::to_string(number);
        reason.about = line;
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
    std::string bytes;
    if (!ReadFile(path, bytes)) return SystemReason("list to import", "list to import");

    std::string_view rest = bytes;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        rest.remove_prefix(kByteOrderMark.size());
    }
    RefusedLines refused;
    for (int number = 1; !rest.empty(); ++number) {
        std::string line(Trim(CutLine(rest)));
        if (IsLeftOut(line)) continue;

        std::replace(line.begin(), line.end(), '\t', ' ');
        Result<void> taken = Take(line, take);
        if (!taken) refused.Add(number, std::move(taken).reason());
    }
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
