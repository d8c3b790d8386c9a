// Header values with parameters: `form-data; name="x"`, `multipart/form-data; boundary=x`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kos {

class HeaderValue {
public:
    /// Parses the value of a header. Never fails; parts that it does not understand are left out.
    static HeaderValue Parse(std::string_view text);

    /// The text before the first semicolon, in lower case.
    const std::string& value() const { return value_; }

    /// The first parameter of this name (in lower case), without quotes.
    std::optional<std::string> Parameter(std::string_view name) const;

private:
    std::string value_;
    std::vector<std::pair<std::string, std::string>> parameters_;
};

}  // namespace kos
