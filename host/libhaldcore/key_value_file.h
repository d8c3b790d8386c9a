// A file of lines `key=value` or `key="value"`, in memory. Comments, section lines and unknown
// lines are kept byte for byte.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

class KeyValueFile {
public:
    /// Reads `path`. Nothing, with errno set, when it cannot be read (ENOENT when it is missing).
    static std::optional<KeyValueFile> Read(const std::string& path);

    /// Parses a text instead of a file.
    static KeyValueFile Parse(const std::string& text);

    /// The value of the first line with this key, without blanks around it and one pair of double
    /// quotes.
    std::optional<std::string> Get(const std::string& key) const;

    /// The values of all keys, as returned by `Get`.
    std::unordered_map<std::string, std::string> Values() const;

    /// Sets the first line with this key to `key="value"`, or adds that line. False, with nothing
    /// changed, when key or value has a line feed, carriage return or NUL, or the key is invalid.
    bool Set(const std::string& key, const std::string& value);

    /// Removes every line with this key.
    void Remove(const std::string& key);

    /// The text of the whole file.
    std::string Text() const;

    /// Replaces the file at `path` by the text; false, with errno set, on failure.
    bool Write(const std::string& path, mode_t mode) const;

private:
    std::vector<std::string> lines_;
};

}  // namespace host
