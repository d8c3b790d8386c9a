// The text files that lists are imported from.
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
constexpr int kMostLoggedLines = 20;  // a wrong file must not flood the log

/// Cuts the first line off `rest`, with whatever ends it.
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

std::string Take(const std::string& line, const TakeLine& take)
{
    return IsPlainText(line) ? take(line) : "holds what is no text in UTF-8";
}

}  // namespace

bool ReadListText(const std::string& path, const TakeLine& take)
{
    std::string bytes;
    if (!ReadFile(path, bytes)) {
        Log(LOG_ERR, "list to import: %s", ErrnoText());
        return false;
    }
    std::string_view rest = bytes;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        rest.remove_prefix(kByteOrderMark.size());
    }
    int refused = 0;
    for (int number = 1; !rest.empty(); ++number) {
        std::string line(Trim(CutLine(rest)));
        if (IsLeftOut(line)) continue;

        std::replace(line.begin(), line.end(), '\t', ' ');
        const std::string fault = Take(line, take);
        if (fault.empty()) continue;
        if (++refused <= kMostLoggedLines) {
            Log(LOG_ERR, "list to import, line %d: %s", number, fault.c_str());
        }
    }
    if (refused > kMostLoggedLines) Log(LOG_ERR, "list to import: %d lines refused", refused);
    return refused == 0;
}

int WriteExport(const std::string& path, const std::string& text)
{
    if (ReplaceFile(path, text, 0600)) return 0;

    Log(LOG_ERR, "cannot write %s: %s", path.c_str(), ErrnoText());
    return -1;
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
