// Key-value files in memory. Lines keep their line ends, so that a change touches only its own
// line.
#include "host/libhaldcore/key_value_file.h"

#include <algorithm>
#include <string_view>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/text.h"

namespace host {

namespace {

struct Entry {
    std::string_view key;
    std::string_view value;
};

std::string_view Unquote(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

bool StartsLikeNoEntry(std::string_view text)
{
    return text.empty() || std::string_view("#;[").find(text.front()) != std::string_view::npos;
}

/// Key and value of a line; nothing for comments, section lines and other lines.
std::optional<Entry> Split(std::string_view line)
{
    const std::string_view text = Trim(line);
    const std::size_t equals = text.find('=');
    if (StartsLikeNoEntry(text) || equals == std::string_view::npos) return std::nullopt;
    return Entry{Trim(text.substr(0, equals)), Unquote(Trim(text.substr(equals + 1)))};
}

bool HoldsKey(std::string_view line, std::string_view key)
{
    const std::optional<Entry> entry = Split(line);
    return entry && entry->key == key;
}

bool HasLineBreak(std::string_view text)
{
    return text.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos;
}

bool IsKey(std::string_view key)
{
    return !StartsLikeNoEntry(key) && Trim(key) == key && !HasLineBreak(key) &&
           key.find('=') == std::string_view::npos;
}

}  // namespace

std::optional<KeyValueFile> KeyValueFile::Read(const std::string& path)
{
    std::string text;
    if (!ReadFile(path, text)) return std::nullopt;
    return Parse(text);
}

KeyValueFile KeyValueFile::Parse(const std::string& text)
{
    KeyValueFile file;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size() - 1) + 1;
        file.lines_.push_back(text.substr(start, end - start));
        start = end;
    }
    return file;
}

std::optional<std::string> KeyValueFile::Get(const std::string& key) const
{
    for (const std::string& line : lines_) {
        const std::optional<Entry> entry = Split(line);
        if (entry && entry->key == key) return std::string(entry->value);
    }
    return std::nullopt;
}

std::unordered_map<std::string, std::string> KeyValueFile::Values() const
{
    std::unordered_map<std::string, std::string> values;
    for (const std::string& line : lines_) {
        if (const std::optional<Entry> entry = Split(line)) {
            values.emplace(std::string(entry->key), std::string(entry->value));
        }
    }
    return values;
}

bool KeyValueFile::Set(const std::string& key, const std::string& value)
{
    if (!IsKey(key) || HasLineBreak(value)) return false;

    // Always quoted, so that blanks and quotes at the ends of the value are preserved.
    std::string wanted = key + "=\"" + value + "\"\n";
    const auto found = std::find_if(lines_.begin(), lines_.end(),
                                    [&](const std::string& line) { return HoldsKey(line, key); });
    if (found != lines_.end()) {
        *found = std::move(wanted);
        return true;
    }

    if (!lines_.empty() && lines_.back().back() != '\n') lines_.back() += '\n';
    lines_.push_back(std::move(wanted));
    return true;
}

void KeyValueFile::Remove(const std::string& key)
{
    const auto holdsKey = [&](const std::string& line) { return HoldsKey(line, key); };
    lines_.erase(std::remove_if(lines_.begin(), lines_.end(), holdsKey), lines_.end());
}

std::string KeyValueFile::Text() const
{
    std::string text;
    for (const std::string& line : lines_) text += line;
    return text;
}

bool KeyValueFile::Write(const std::string& path, mode_t mode) const
{
    return ReplaceFile(path, Text(), mode);
}

}  // namespace host
