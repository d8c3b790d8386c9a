// Texts of the interface, read from a file.
#include "platform/texts/localized_string_parser.h"

#include <string_view>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libkos/text.h"

namespace HALD::HDX {

namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

std::string_view Unquote(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

/// The name in a line `[name]`; empty for other lines.
std::string SectionName(std::string_view line)
{
    const bool section = line.size() > 2 && line.front() == '[' && line.back() == ']';
    return section ? std::string(kos::Trim(line.substr(1, line.size() - 2))) : std::string();
}

void AddText(Json::Value& section, std::string_view line)
{
    const bool comment = line.empty() || line.front() == '#' || line.front() == ';';
    if (comment || line.find('=') == std::string_view::npos) return;

    const std::string key(kos::Trim(kos::CutAt(line, '=')));
    if (!section.isMember(key)) section[key] = std::string(Unquote(kos::Trim(line)));
}

}  // namespace

Json::Value LocalizedStringParser::ParseTexts(const std::string& path)
{
    std::string text;
    if (!host::ReadFile(host::Path(path), text)) return Json::Value();

    std::string_view rest = text;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        rest.remove_prefix(kByteOrderMark.size());
    }
    Json::Value texts(Json::objectValue);
    std::string section;
    while (!rest.empty()) {
        const std::string_view line = kos::Trim(kos::CutAt(rest, '\n'));
        const std::string name = SectionName(line);
        if (!name.empty()) section = name;
        if (!section.empty() && name.empty()) AddText(texts[section], line);
    }
    return texts;
}

}  // namespace HALD::HDX
